#pragma once

#include <QMessageBox>
#include <QObject>
#include <QPointer>

#include <functional>
#include <vector>

namespace veilora {

// The one-time question that stands in for a system camera prompt where the
// system has none. Questions asked while one is open join it: one window, and
// every asker gets the same answer, once, on the main thread. Closing the window
// without choosing answers no.
class CameraConsentQuestion : public QObject
{
    Q_OBJECT
public:
    static CameraConsentQuestion &shared();

    void ask(std::function<void(bool granted)> answer);

    // The open question, for tests.
    QMessageBox *window() const { return m_window; }

private:
    void answerAll(bool granted);

    QPointer<QMessageBox> m_window;
    std::vector<std::function<void(bool)>> m_waiting;
};

} // namespace veilora
