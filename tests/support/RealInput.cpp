#include "RealInput.h"

#include "TestSupport.h"

#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QWidget>

#include <csignal>
#include <sys/prctl.h>

namespace veilora::test {

namespace {

QByteArray run(const QString &program, const QStringList &args)
{
    QProcess process;
    process.start(program, args);
    process.waitForFinished(10000);
    return process.readAllStandardOutput();
}

QByteArray rootProperty(const char *name)
{
    return run(QStringLiteral("xprop"), {QStringLiteral("-root"), QString::fromLatin1(name)});
}

} // namespace

bool ensureWindowManager()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return false;
    // Each test process runs its own, replacing any other: the one of the test
    // binary before may still be on its way out, and a window mapped while it
    // goes would never be shown.
    static QProcess *openbox = [] {
        // Openbox runs its start-up command once it manages windows.
        static QTemporaryDir folder;
        const QString ready = folder.filePath(QStringLiteral("openbox-ready"));
        auto *process = new QProcess;
        process->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
        process->start(QStringLiteral("openbox"),
                       {QStringLiteral("--replace"), QStringLiteral("--sm-disable"),
                        QStringLiteral("--startup"), QStringLiteral("touch '%1'").arg(ready)});
        if (process->waitForStarted())
            waitUntil([&] { return QFile::exists(ready); });
        return process;
    }();
    return openbox->state() == QProcess::Running &&
           rootProperty("_NET_SUPPORTING_WM_CHECK").contains("window id");
}

void clickAt(const QPoint &global)
{
    run(QStringLiteral("xdotool"),
        {QStringLiteral("mousemove"), QString::number(global.x()), QString::number(global.y()),
         QStringLiteral("click"), QStringLiteral("1")});
}

void click(const QWidget *widget)
{
    clickAt(widget->mapToGlobal(widget->rect().center()));
}

void pressKey(const QString &keysym)
{
    run(QStringLiteral("xdotool"), {QStringLiteral("key"), keysym});
}

} // namespace veilora::test
