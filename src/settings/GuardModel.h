#pragma once

#include <QObject>

namespace veilora {

// The presence guard as the settings window and the tray see it: its published
// state and the operations they use. The application hands in the real guard;
// tests hand in a recorder. Main thread only.
class GuardModel : public QObject
{
    Q_OBJECT
public:
    virtual bool enabledPref() const = 0;
    virtual bool enrolled() const = 0;
    virtual bool cameraDenied() const = 0;
    virtual int graceSeconds() const = 0;

    virtual void setEnabled(bool on) = 0;
    virtual void setGraceSeconds(int seconds) = 0;
    virtual void deleteEnrollment() = 0;

Q_SIGNALS:
    // After any of the published values above changed.
    void changed();
};

} // namespace veilora
