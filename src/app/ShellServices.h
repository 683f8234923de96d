#pragma once

#include "platform/BundleInfo.h"
#include "platform/CameraAuthorization.h"
#include "settings/GuardModel.h"
#include "settings/SettingsTab.h"

#include <QObject>
#include <QUrl>

#include <functional>
#include <optional>

namespace veilora {

namespace shell {

// The presence guard as start-up, the tray and the settings window see it.
class Guard : public GuardModel
{
    Q_OBJECT
public:
    virtual void bootstrap() = 0;
};

} // namespace shell

// What the application shell needs of the subsystems it starts and drives, so
// that start-up can run, and be watched, before each subsystem exists. Each
// subsystem is a long-lived object made on first use: the first call that needs
// it creates it (the update controller, for instance, exists only once
// `startUpdater` ran).
struct ShellServices
{
    std::function<void()> startLocalization;
    std::function<shell::Guard &()> guard;
    CameraAuthorization *cameraAuthorization = nullptr;
    // True when camera devices exist that this user may not open (not in the "video" group).
    std::function<bool()> cameraBlockedBySystem = [] { return false; };
    std::function<void()> showOnboarding;
    std::function<void()> startUpdater;
    // Checks now, with the updater's own dialogs.
    std::function<void()> checkForUpdates;
    std::function<void()> startCloudAccount;
    // Every URL delivered to the application; the cloud account decides what is a sign-in callback.
    std::function<void(const QUrl &)> handleCallback;
    std::function<void()> startCloudSync;
    // Subscribes the crash reporter to the system's crash and diagnostic reports.
    std::function<void()> subscribeCrashReporter;
    std::function<void()> startTesterMode;
    // Without a tab the settings window opens on the tab it showed last.
    std::function<void(std::optional<SettingsTab>)> showSettings;
    std::function<void()> quit;
    BundleInfo bundle = BundleInfo::main();

    // The application's own subsystems.
    static ShellServices live();
};

} // namespace veilora
