#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace veilora {

// The programs the camera help may start. The help reaches the system's tools
// only through this, so tests see what it would run without running pkexec.
class CameraAccessHelpLauncher
{
public:
    virtual ~CameraAccessHelpLauncher() = default;

    // Whether `program` can be found on the PATH.
    virtual bool exists(const QString &program) const = 0;

    // Runs `program` without blocking; `finished(succeeded)` comes once, on the
    // main thread, when it has ended (successful: started and exited with 0).
    virtual void run(const QString &program, const QStringList &arguments,
                     std::function<void(bool succeeded)> finished) = 0;

    // Starts `program` on its own; false when it could not be started.
    virtual bool startDetached(const QString &program, const QStringList &arguments) = 0;

    // Through QProcess.
    static CameraAccessHelpLauncher &system();
};

} // namespace veilora
