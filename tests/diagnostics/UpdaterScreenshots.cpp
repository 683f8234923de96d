// Pictures of every step of the update window, in English and German:
//   updater_screenshots OUTDIR   →   OUTDIR/update-<step>[-de].png
// It runs in a private settings folder, so it never changes the real preferences.
#include "diagnostics/UpdateWindow.h"
#include "localization/L10n.h"

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTextStream>

#include <cstdlib>
#include <functional>

using namespace veilora;
using namespace Qt::Literals::StringLiterals;

namespace {

void settle()
{
    for (int i = 0; i < 10; ++i)
        QApplication::processEvents();
}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir config;
    if (!config.isValid())
        return 2;
    setenv("XDG_CONFIG_HOME", config.path().toUtf8().constData(), 1);
    QApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() != 2) {
        QTextStream(stderr) << "usage: updater_screenshots OUTDIR\n";
        return 2;
    }
    const QDir out(args[1]);
    if (!QDir().mkpath(out.path()))
        return 2;

    AppcastItem item;
    item.version = u"120"_s;
    item.shortVersionString = u"1.2"_s;
    const QString notes =
        u"<h3>Veilora 1.2</h3><ul><li>The blur follows you across all monitors.</li>"
        "<li>Faster face detection in dim light.</li><li>Fixes for the settings window.</li></ul>"_s;

    const std::pair<QString, std::function<void(UpdateWindow &)>> steps[] = {
        {u"checking"_s, [](UpdateWindow &w) { w.showChecking(); }},
        {u"up-to-date"_s, [](UpdateWindow &w) { w.showUpToDate(u"1.0"_s); }},
        {u"available"_s,
         [&](UpdateWindow &w) {
             w.showAvailable(item, u"1.0"_s);
             w.setReleaseNotes(notes, true);
         }},
        {u"downloading"_s,
         [](UpdateWindow &w) {
             w.showDownloading(u"1.2"_s);
             w.setProgress(1900000, 4200000);
         }},
        {u"ready-to-install"_s, [](UpdateWindow &w) { w.showReadyToInstall(u"1.2"_s); }},
        {u"installing"_s, [](UpdateWindow &w) { w.showInstalling(u"1.2"_s); }},
        {u"installed"_s, [](UpdateWindow &w) { w.showInstalled(u"1.2"_s); }},
        {u"error-unreachable"_s,
         [](UpdateWindow &w) { w.showError(UpdaterError::feedUnreachable, u"Connection refused"_s); }},
        {u"error-signature"_s,
         [](UpdateWindow &w) {
             w.showError(UpdaterError::signatureMismatch, u"the signature does not match the package"_s);
         }},
        {u"error-size"_s,
         [](UpdateWindow &w) {
             w.showError(UpdaterError::sizeMismatch, u"4199990 bytes received, the feed states 4200000"_s);
         }},
    };
    int failures = 0;
    for (const QString &language : {u"en"_s, u"de"_s}) {
        L10n::shared().apply(language);
        for (const auto &[name, show] : steps) {
            UpdateWindow window;
            show(window);
            window.show();
            settle();
            window.adjustSize();
            settle();
            const QString file = out.filePath(
                u"update-"_s + name + (language == u"en"_s ? QString() : u"-"_s + language) + u".png"_s);
            if (!window.grab().save(file)) {
                QTextStream(stderr) << "cannot write " << file << '\n';
                ++failures;
            }
        }
    }
    return failures == 0 ? 0 : 1;
}
