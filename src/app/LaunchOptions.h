#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace veilora {

class SingleInstance;

// What a start of `veilora` was asked to do, from its arguments (Qt's own
// options already removed).
struct LaunchOptions
{
    std::optional<QString> url;        // the first argument that is a URL
    std::optional<QString> cameraFile; // --camera-file PATH: frames from a video file
    int ignoredArguments = 0;          // neither a URL nor a known option
    QString error;                     // a known option used wrongly; the start should end
};

LaunchOptions parseLaunchOptions(const QStringList &args);

// A URL is an absolute one with a scheme; anything else handed to the
// application (a file name, a stray word) is not one and is ignored.
bool isOpenableURL(const QString &text);

enum class LaunchRole
{
    primary,   // this process is the running instance
    handedOff, // the running instance took the request; exit successfully
    failed     // another instance runs but could not be reached
};

// Claims the session's single instance, or hands this start's request (its URL,
// else "show the settings") to the instance that already runs.
LaunchRole claimOrHandOff(SingleInstance &instance, const LaunchOptions &options, QString *error);

} // namespace veilora
