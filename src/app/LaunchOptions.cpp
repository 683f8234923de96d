#include "LaunchOptions.h"

#include "platform/SingleInstance.h"

#include <QUrl>

namespace veilora {

namespace {

// Far beyond any sign-in callback; longer text is not passed around.
constexpr qsizetype maximumURLLength = 8192;

} // namespace

bool isOpenableURL(const QString &text)
{
    if (text.isEmpty() || text.size() > maximumURLLength)
        return false;
    const QUrl url(text, QUrl::StrictMode);
    return url.isValid() && !url.isRelative() && url.scheme().size() > 1;
}

LaunchOptions parseLaunchOptions(const QStringList &args)
{
    static const QString cameraFile = QStringLiteral("--camera-file");
    LaunchOptions options;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString &arg = args.at(i);
        if (arg == cameraFile) {
            if (i + 1 >= args.size() || args.at(i + 1).isEmpty()) {
                options.error = QStringLiteral("--camera-file needs the path of a video file");
                return options;
            }
            options.cameraFile = args.at(++i);
        } else if (arg.startsWith(cameraFile + u'=')) {
            options.cameraFile = arg.mid(cameraFile.size() + 1);
            if (options.cameraFile->isEmpty()) {
                options.error = QStringLiteral("--camera-file needs the path of a video file");
                return options;
            }
        } else if (!options.url && isOpenableURL(arg)) {
            options.url = arg;
        } else {
            ++options.ignoredArguments;
        }
    }
    return options;
}

LaunchRole claimOrHandOff(SingleInstance &instance, const LaunchOptions &options, QString *error)
{
    if (instance.claim())
        return LaunchRole::primary;
    const bool delivered =
        options.url ? instance.sendOpenURL(*options.url, error) : instance.sendActivate(error);
    return delivered ? LaunchRole::handedOff : LaunchRole::failed;
}

} // namespace veilora
