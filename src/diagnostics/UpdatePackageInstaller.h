#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class QProcess;

namespace veilora {

// Hands a verified package to the system, which installs it with its own
// authorisation prompt. Tests put a recording fake in its place: the real one
// changes the computer.
class UpdatePackageInstaller
{
public:
    virtual ~UpdatePackageInstaller() = default;
    // Calls `done` once on the main thread: nothing on success, else a
    // short technical reason shown under the error message.
    virtual void install(const QString &packagePath, std::function<void(std::optional<QString>)> done) = 0;
};

// pkexec running apt-get, so the desktop's own authorisation dialog asks for
// the administrator password; without pkexec, the desktop's software installer
// opens the package and the person installs it there.
class SystemPackageInstaller : public QObject, public UpdatePackageInstaller
{
public:
    explicit SystemPackageInstaller(QObject *parent = nullptr);

    void install(const QString &packagePath, std::function<void(std::optional<QString>)> done) override;

    // The program and its arguments for `packagePath`, given which helpers exist.
    static QStringList command(const QString &packagePath, bool havePkexec);

private:
    QProcess *m_running = nullptr;
};

} // namespace veilora
