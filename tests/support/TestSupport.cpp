#include "TestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QThread>

namespace veilora::test {

bool waitUntil(const std::function<bool()> &condition, std::chrono::milliseconds timeout)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > timeout.count())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(2);
    }
    return true;
}

void processEventsFor(std::chrono::milliseconds duration)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < duration.count()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(2);
    }
}

QString testHome()
{
    return qEnvironmentVariable("HOME");
}

bool inTestSession()
{
    return qEnvironmentVariableIsSet("VEILORA_TEST_SESSION");
}

QString assetsDir()
{
    const QString dir = QString::fromUtf8(VEILORA_ASSETS_DIR);
    return QDir(dir).exists() ? dir : QString();
}

} // namespace veilora::test

#include "TestPeer.h"

namespace veilora::test {

QProcess *startPeer(const QString &name, const QStringList &args)
{
    auto *process = new QProcess;
    process->setProcessChannelMode(QProcess::SeparateChannels);
    process->setReadChannel(QProcess::StandardOutput);
    process->start(QCoreApplication::applicationFilePath(),
                   QStringList{QStringLiteral("--peer"), name} + args);
    process->waitForStarted();
    return process;
}

bool waitForPeerLine(QProcess *peer, const QString &line, int timeoutMs)
{
    // Lines read by earlier calls stay available to later ones.
    const char *buffer = "veiloraPeerOutput";
    return waitUntil(
        [&]() {
            QByteArray seen = peer->property(buffer).toByteArray() + peer->readAllStandardOutput();
            peer->setProperty(buffer, seen);
            return seen.split('\n').contains(line.toUtf8());
        },
        std::chrono::milliseconds(timeoutMs));
}

} // namespace veilora::test
