#include "ApplicationShortcuts.h"

#include <QCoreApplication>
#include <QKeyEvent>

namespace veilora {

ApplicationShortcuts::ApplicationShortcuts(std::function<void()> quit, QObject *parent)
    : QObject(parent)
    , m_quit(std::move(quit))
{}

void ApplicationShortcuts::install()
{
    QCoreApplication::instance()->installEventFilter(this);
}

bool ApplicationShortcuts::eventFilter(QObject *watched, QEvent *event)
{
    // A key press reaches the window first and then its focused widget; taking
    // it at the window sees it exactly once, whatever has the focus.
    if (event->type() != QEvent::KeyPress || !watched->isWindowType())
        return false;
    if (!static_cast<QKeyEvent *>(event)->matches(QKeySequence::Quit))
        return false;
    m_quit();
    return true;
}

} // namespace veilora
