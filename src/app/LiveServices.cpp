// The application's real subsystems behind the shell's services. Kept apart
// from the shell itself so that tests link the shell without them.
#include "app/CameraAccessHelp.h"
#include "app/CloudParts.h"
#include "app/DiagnosticsParts.h"
#include "app/FaceEnrollSheet.h"
#include "app/OnboardingWindowController.h"
#include "app/ShellServices.h"
#include "diagnostics/CrashReporter.h"
#include "guard/PrivacyGuard.h"
#include "localization/L10n.h"
#include "platform/LinuxCameraAuthorization.h"
#include "platform/UserDefaults.h"
#include "settings/AppSettings.h"
#include "settings/SettingsWindowController.h"

#include <QCoreApplication>

namespace veilora {

namespace {

class PrivacyGuardShell : public shell::Guard
{
public:
    explicit PrivacyGuardShell(PrivacyGuard &guard)
        : m_guard(guard)
    {
        connect(&guard, &PrivacyGuard::enabledPrefChanged, this, &shell::Guard::changed);
        connect(&guard, &PrivacyGuard::enrolledChanged, this, &shell::Guard::changed);
        connect(&guard, &PrivacyGuard::cameraDeniedChanged, this, &shell::Guard::changed);
        connect(&guard, &PrivacyGuard::graceSecondsChanged, this, &shell::Guard::changed);
    }

    bool enabledPref() const override { return m_guard.enabledPref(); }
    bool enrolled() const override { return m_guard.enrolled(); }
    bool cameraDenied() const override { return m_guard.cameraDenied(); }
    int graceSeconds() const override { return m_guard.graceSeconds(); }
    void setEnabled(bool on) override { m_guard.setEnabled(on); }
    void setGraceSeconds(int seconds) override { m_guard.setGraceSeconds(seconds); }
    void deleteEnrollment() override { m_guard.deleteEnrollment(); }
    void bootstrap() override { m_guard.bootstrap(); }

private:
    PrivacyGuard &m_guard;
};

void showCameraHelp(QWidget *parent)
{
    CameraAccessHelp::present(CameraHelpContext::live(), parent);
}

shell::Guard &liveGuard()
{
    static PrivacyGuardShell shell(PrivacyGuard::shared());
    return shell;
}

TesterModel &testerModel()
{
    static TesterModeModel model(TesterMode::shared());
    return model;
}

// Only builds with an update feed have an updater.
UpdaterModel *updaterModel()
{
    if (!UpdaterController::isConfigured())
        return nullptr;
    static UpdaterControllerModel model(UpdaterController::shared());
    return &model;
}

AccountModel &accountModel()
{
    static CloudAccountModel model(CloudAccount::shared(), CloudSync::shared());
    return model;
}

} // namespace

CloudSync &CloudSync::shared()
{
    static LiveSyncedPreferences preferences(AppSettings::shared(), liveGuard());
    static CloudSync *sync = new CloudSync(preferences, CloudAccount::shared(), UserDefaults::standard());
    return *sync;
}

ShellServices ShellServices::live()
{
    ShellServices services;
    services.startLocalization = [] { L10n::shared().bootstrap(); };
    services.guard = liveGuard;
    services.cameraAuthorization = &LinuxCameraAuthorization::shared();
    services.cameraBlockedBySystem = [] {
        return !LinuxCameraAuthorization::isSandboxed() &&
               LinuxCameraAuthorization::shared().devicesInaccessible();
    };
    services.startUpdater = [] { UpdaterController::shared().start(); };
    services.checkForUpdates = [] { UpdaterController::shared().checkForUpdates(); };
    services.startCloudAccount = [] { CloudAccount::shared().start(); };
    services.handleCallback = [](const QUrl &url) { CloudAccount::shared().handleCallback(url); };
    services.startCloudSync = [] { CloudSync::shared().start(); };
    services.subscribeCrashReporter = [] { CrashReporter::shared().subscribe(); };
    services.startTesterMode = [] { TesterMode::shared().start(); };
    static const auto showSettings = [](std::optional<SettingsTab> tab) {
        SettingsWindowController &controller = SettingsWindowController::shared();
        controller.setServices({&liveGuard(), &AppSettings::shared(), FaceEnrollSheet::present,
                                &LinuxCameraAuthorization::shared(), showCameraHelp, &accountModel(),
                                &testerModel(), updaterModel()});
        controller.show(tab);
    };
    services.showSettings = showSettings;
    services.showOnboarding = [] {
        OnboardingWindowController &controller = OnboardingWindowController::shared();
        controller.setServices({&AppSettings::shared(), &LinuxCameraAuthorization::shared(), showCameraHelp,
                                [] { showSettings(SettingsTab::general); }});
        controller.show();
    };
    services.quit = [] { QCoreApplication::quit(); };
    return services;
}

} // namespace veilora
