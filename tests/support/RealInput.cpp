#include "RealInput.h"

#include "TestSupport.h"

#include <QGuiApplication>
#include <QProcess>
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

// Openbox announces itself before it manages windows; the client stacking list
// comes at the end of its start-up.
bool hasWindowManager()
{
    return run(QStringLiteral("xprop"), {QStringLiteral("-root"), QStringLiteral("_NET_SUPPORTING_WM_CHECK")})
               .contains("window id") &&
           run(QStringLiteral("xprop"),
               {QStringLiteral("-root"), QStringLiteral("_NET_CLIENT_LIST_STACKING")})
               .contains("window id");
}

} // namespace

bool ensureWindowManager()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return false;
    if (hasWindowManager())
        return true;
    // Never stopped: it goes with this process (or with the test's X server).
    static auto *openbox = [] {
        auto *process = new QProcess;
        process->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
        process->start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")});
        return process;
    }();
    return openbox->waitForStarted() && waitUntil(hasWindowManager);
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
