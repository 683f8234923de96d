#pragma once

#include "app/ShellServices.h"

#include <QObject>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

class QTimer;

namespace veilora {

class AppSettings;
class ApplicationShortcuts;
class SingleInstance;
class StatusItemController;

// Starts the application's subsystems in their fixed order once the event loop
// runs, keeps the tray icon current, and takes the URLs and activations that
// later starts of `veilora` hand over. Lives as long as the process.
class AppDelegate : public QObject
{
    Q_OBJECT
public:
    // Picks up camera permission changed outside the application.
    static constexpr std::chrono::milliseconds refreshInterval{2000};

    // `instance`, when given, is the claimed single instance whose hand-overs
    // this delegate serves.
    AppDelegate(AppSettings &settings, ShellServices services, SingleInstance *instance = nullptr,
                QObject *parent = nullptr);
    ~AppDelegate() override;

    // The start-up sequence; the order matters (see the definition).
    void applicationDidFinishLaunching();

    // Every URL delivered to the application goes to the cloud account; text that
    // is not a URL is dropped. Held back until launching has finished.
    void handleGetURLEvent(const QString &text);

    // Application-wide shortcuts in place of a main menu.
    void installEditMenu();

    StatusItemController &statusItem();
    QTimer *permissionTimer() const { return m_permissionTimer; }

private:
    void whenLaunched(std::function<void()> work);

    AppSettings &m_settings;
    ShellServices m_services;
    std::unique_ptr<StatusItemController> m_statusItem;
    QTimer *m_permissionTimer = nullptr;
    ApplicationShortcuts *m_shortcuts = nullptr;
    bool m_launched = false;
    std::vector<std::function<void()>> m_afterLaunch;
};

} // namespace veilora
