#pragma once

#include "app/MenuBarIcon.h"
#include "app/ShellServices.h"

#include <QColor>
#include <QObject>

#include <chrono>
#include <memory>
#include <optional>

class QMenu;
class QSystemTrayIcon;

namespace veilora {

// The tray icon and its menu, the application's only permanent interface. The
// icon shows whether protection is on, off, or blocked by camera permission; the
// menu is rebuilt from the current state each time it opens. Main thread only.
class StatusItemController : public QObject
{
    Q_OBJECT
public:
    // At login the panel may start after the application; this long it gets
    // before the application says that no tray exists.
    static constexpr std::chrono::seconds trayWait{15};

    explicit StatusItemController(ShellServices &services, QObject *parent = nullptr);
    ~StatusItemController() override;

    // Recomputes the state, redraws the icon for the panel behind it, sets the tooltip.
    void refreshIcon();
    // Rebuilds the menu; runs whenever it is about to open.
    void menuNeedsUpdate();

    void toggleEnabled();
    void openGeneral();
    void showSettings();
    void openPermissions();
    void checkForUpdates();
    void showAbout();
    void quit();

    // Once per run: without any tray, says so and offers the settings instead.
    void checkTrayPresence();

    MenuBarIcon::State state() const { return m_state; }
    QSystemTrayIcon &statusItem() const { return *m_statusItem; }
    QMenu &menu() const { return *m_menu; }

private:
    MenuBarIcon::State currentState() const;
    QColor panelColor() const;

    ShellServices &m_services;
    QSystemTrayIcon *m_statusItem = nullptr;
    std::unique_ptr<QMenu> m_menu;
    MenuBarIcon::State m_state = MenuBarIcon::State::off;
    std::optional<QColor> m_tint; // none until the first refresh
    bool m_trayChecked = false;
};

} // namespace veilora
