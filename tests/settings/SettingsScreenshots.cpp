// Renders every tab of the settings window in light and dark, in English,
// German and Japanese, over a fake enrolled guard, as PNG files for the README:
//   settings_screenshots OUTDIR   →   OUTDIR/settings-<tab>-<light|dark>-<lang>.png
// scripts/screenshots.sh runs it on a private X server.
#include "RecordingGuard.h"
#include "controls/Palettes.h"
#include "localization/L10n.h"
#include "platform/LoginItem.h"
#include "platform/UserDefaults.h"
#include "settings/AppSettings.h"
#include "settings/SettingsRouter.h"
#include "settings/SettingsTabInfo.h"
#include "settings/SettingsWindow.h"
#include "settings/SettingsWindowController.h"

#include <QApplication>
#include <QDir>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <QTextStream>

#include <cstdlib>

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
    SettingsRouter router;
    SettingsWindowController controller({&guard, &settings, [](QWidget *) {}}, &router);

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
    QTextStream(stdout) << written << " screenshots in " << out.path() << "\n";
    return 0;
}
