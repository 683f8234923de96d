#include "UpdatePackageInstaller.h"

#include "platform/EventLog.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace veilora {

using namespace Qt::Literals::StringLiterals;

namespace {

// pkexec's own exit codes: the person dismissed the prompt or was not authorised.
constexpr int pkexecDismissed = 126;
constexpr int pkexecNotAuthorised = 127;

} // namespace

SystemPackageInstaller::SystemPackageInstaller(QObject *parent)
    : QObject(parent)
{}

QStringList SystemPackageInstaller::command(const QString &packagePath, bool havePkexec)
{
    // apt-get takes a local package only as a path, never as a bare name.
    const QString path = QFileInfo(packagePath).absoluteFilePath();
    if (havePkexec)
        return {u"pkexec"_s, u"/usr/bin/apt-get"_s, u"install"_s, u"-y"_s, path};
    return {u"xdg-open"_s, path};
}

void SystemPackageInstaller::install(const QString &packagePath,
                                     std::function<void(std::optional<QString>)> done)
{
    if (m_running) {
        done(u"an installation is already running"_s);
        return;
    }
    const bool havePkexec =
        !QStandardPaths::findExecutable(u"pkexec"_s).isEmpty() && QFileInfo::exists(u"/usr/bin/apt-get"_s);
    const QStringList command = SystemPackageInstaller::command(packagePath, havePkexec);
    EventLog::write(u"Installing update: %1"_s.arg(command.join(u' ')));
    m_running = new QProcess(this);
    m_running->setProcessChannelMode(QProcess::MergedChannels);
    QProcess *process = m_running;
    connect(process, &QProcess::finished, this, [this, process, done](int code, QProcess::ExitStatus status) {
        const QString output = QString::fromLocal8Bit(process->readAll()).trimmed();
        m_running = nullptr;
        process->deleteLater();
        if (status == QProcess::NormalExit && code == 0) {
            done(std::nullopt);
            return;
        }
        EventLog::write(u"Update installation failed (%1): %2"_s.arg(code).arg(output.right(2000)));
        if (status == QProcess::NormalExit && (code == pkexecDismissed || code == pkexecNotAuthorised))
            done(u"administrator authorisation was not given"_s);
        else
            done(output.isEmpty() ? u"exit code %1"_s.arg(code) : output.section(u'\n', -1));
    });
    connect(process, &QProcess::errorOccurred, this, [this, process, done](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        m_running = nullptr;
        process->deleteLater();
        done(process->errorString());
    });
    process->start(command.first(), command.mid(1));
}

} // namespace veilora
