#pragma once

#include <QObject>

#include <functional>

namespace veilora {

// Keyboard shortcuts that hold in every window of the application although it
// has no menu bar: Ctrl+Q quits from any of them. The editing shortcuts (undo,
// redo, cut, copy, paste, select all) need nothing here, as Qt's text fields
// carry them themselves.
class ApplicationShortcuts : public QObject
{
    Q_OBJECT
public:
    explicit ApplicationShortcuts(std::function<void()> quit, QObject *parent = nullptr);

    // Watches every window's keys from now on.
    void install();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    std::function<void()> m_quit;
};

} // namespace veilora
