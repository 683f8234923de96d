#include "CameraAccessHelpLauncher.h"

#include "platform/EventLog.h"

#include <QCoreApplication>
#include <QProcess>
#include <QStandardPaths>

#include <memory>
#include <utility>

namespace veilora {

namespace {

class ProcessLauncher : public CameraAccessHelpLauncher
{
public:
    bool exists(const QString &program) const override
    {
        return !QStandardPaths::findExecutable(program).isEmpty();
    }

    void run(const QString &program, const QStringList &arguments,
             std::function<void(bool)> finished) override
    {
        auto *process = new QProcess(QCoreApplication::instance());
        // A failure to start and the end of the run both report; only the first counts.
        auto report = std::make_shared<std::function<void(bool)>>(std::move(finished));
        const auto once = [process, report, program](bool succeeded) {
            if (!*report)
                return;
            const auto callback = std::exchange(*report, nullptr);
            process->deleteLater();
            if (!succeeded) {
                EventLog::write(
                    QStringLiteral("camera help: %1 failed: %2")
                        .arg(program,
                             QString::fromLocal8Bit(process->readAllStandardError()).trimmed().right(300)));
            }
            callback(succeeded);
        };
        QObject::connect(process, &QProcess::finished, process,
                         [once](int code, QProcess::ExitStatus status) {
                             once(status == QProcess::NormalExit && code == 0);
                         });
        QObject::connect(process, &QProcess::errorOccurred, process, [once](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart)
                once(false);
        });
        process->start(program, arguments);
    }

    bool startDetached(const QString &program, const QStringList &arguments) override
    {
        return QProcess::startDetached(program, arguments);
    }
};

} // namespace

CameraAccessHelpLauncher &CameraAccessHelpLauncher::system()
{
    static ProcessLauncher launcher;
    return launcher;
}

} // namespace veilora
