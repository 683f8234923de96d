#include "app/AppDelegate.h"
#include "app/AppearanceFollower.h"
#include "app/CameraConsentQuestion.h"
#include "app/DefaultsCommand.h"
#include "app/LaunchOptions.h"
#include "diagnostics/DebugLog.h"
#include "localization/L10n.h"
#include "platform/BundleInfo.h"
#include "platform/LinuxCameraAuthorization.h"
#include "platform/SingleInstance.h"
#include "platform/UrlSchemeRegistration.h"
#include "platform/UserDefaults.h"
#include "platform/capture/CaptureDevices.h"
#include "platform/crash/CrashCapture.h"
#include "platform/crash/CrashForTesting.h"
#include "settings/AppSettings.h"
#include "shield/ShieldPlatform.h"

#include <QApplication>
#include <QMetaObject>
#include <QTextStream>

#include <cstdio>
#include <memory>

using namespace veilora;

namespace {

QStringList plainArguments(int argc, char **argv)
{
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args << QString::fromLocal8Bit(argv[i]);
    return args;
}

bool hasDisplay()
{
    return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ||
           qEnvironmentVariableIsSet("QT_QPA_PLATFORM");
}

} // namespace

int main(int argc, char **argv)
{
    DebugLog::install();
    CrashCapture::install();
    const QStringList args = plainArguments(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);

    // Commands that answer and exit need no display.
    if (args.value(0) == QLatin1String("--version")) {
        const BundleInfo &info = BundleInfo::main();
        out << "Veilora " << info.shortVersion().value_or(QStringLiteral("?")) << " (build "
            << info.buildVersion().value_or(QStringLiteral("?")) << ")\n";
        return 0;
    }
    if (args.value(0) == QLatin1String("--defaults"))
        return runDefaultsCommand(args.mid(1), UserDefaults::standard(), out, err);

    // Before the application object exists, so that Qt's own texts load in the
    // chosen language and the shield can stay above every window.
    applyLanguageOverrideAtLaunch();
    preferX11ForShield();

    // A start that only hands a URL to the running copy may come from a browser
    // or `gio open` without a display; that needs no GUI.
    const std::unique_ptr<QCoreApplication> app = hasDisplay()
                                                      ? std::make_unique<QApplication>(argc, argv)
                                                      : std::make_unique<QCoreApplication>(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Veilora"));
    QCoreApplication::setOrganizationName(QStringLiteral("Norvane"));
    // A hook for the crash tests (tests/diagnostics/CrashJourneyTest.cpp).
    if (const auto kind = crashKindFromName(qEnvironmentVariable(crashForTestingVariable)))
        crashForTesting(*kind);

    const LaunchOptions options = parseLaunchOptions(QCoreApplication::arguments().mid(1));
    if (!options.error.isEmpty()) {
        err << "veilora: " << options.error << '\n';
        return 2;
    }

    DBusSingleInstance instance(QDBusConnection::sessionBus());
    QString handOffError;
    switch (claimOrHandOff(instance, options, &handOffError)) {
    case LaunchRole::handedOff:
        return 0;
    case LaunchRole::failed:
        err << "veilora: Veilora is running but did not answer: " << handOffError << '\n';
        return 1;
    case LaunchRole::primary:
        break;
    }
    if (!qobject_cast<QApplication *>(app.get())) {
        err << "veilora: no display to show Veilora on (DISPLAY and WAYLAND_DISPLAY are unset)\n";
        return 1;
    }
    QGuiApplication::setDesktopFileName(QStringLiteral("veilora"));
    // A tray application: no main window, and closing its last window does not end it.
    QApplication::setQuitOnLastWindowClosed(false);
    PortalDesktopAppearance appearance(QDBusConnection::sessionBus());
    AppearanceFollower followDesktop(appearance);

    if (options.cameraFile)
        CaptureDevices::useFileSource(*options.cameraFile);
    LinuxCameraAuthorization::shared().setAskUser(
        [](std::function<void(bool)> answer) { CameraConsentQuestion::shared().ask(std::move(answer)); });

    AppDelegate delegate(AppSettings::shared(), ShellServices::live(), &instance);
    // Launching has finished once the event loop runs.
    QMetaObject::invokeMethod(&delegate, &AppDelegate::applicationDidFinishLaunching, Qt::QueuedConnection);
    if (options.url)
        delegate.handleGetURLEvent(*options.url);
    UrlSchemeRegistration::ensureRegistered();
    return QCoreApplication::exec();
}
