#include "SettingsWindowController.h"

#include "SettingsRouter.h"
#include "SettingsWindow.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QStyle>

namespace veilora {

SettingsWindowController::SettingsWindowController(SettingsServices services, SettingsRouter *router,
                                                   QObject *parent)
    : QObject(parent)
    , m_services(std::move(services))
    , m_router(router ? *router : SettingsRouter::shared())
{}

SettingsWindowController &SettingsWindowController::shared()
{
    static auto *controller = new SettingsWindowController; // lives as long as the process
    return *controller;
}

SettingsWindow *SettingsWindowController::window() const
{
    return m_window;
}

void SettingsWindowController::setServices(SettingsServices services)
{
    m_services = std::move(services);
}

void SettingsWindowController::show(std::optional<SettingsTab> tab)
{
    if (tab)
        m_router.setSelectedTab(*tab);
    if (!m_services.isComplete()) {
        qWarning("SettingsWindowController::show before setServices: no settings window");
        return;
    }
    if (!m_window) {
        m_window = new SettingsWindow(m_services, m_router);
        QScreen *screen = QGuiApplication::screenAt(QCursor::pos());
        if (!screen)
            screen = QGuiApplication::primaryScreen();
        if (screen) {
            m_window->setGeometry(QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, m_window->size(),
                                                      screen->availableGeometry()));
        }
    }
    m_window->setWindowState((m_window->windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

} // namespace veilora
