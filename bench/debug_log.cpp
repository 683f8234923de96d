// Cost of one debug log line (open, size check, append, close) and of a full tail.
#include "diagnostics/DebugLog.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

int main(int argc, char **argv)
{
    QTemporaryDir home;
    setenv("XDG_DATA_HOME", home.path().toUtf8().constData(), 1);
    QCoreApplication app(argc, argv);

    constexpr int lines = 20000;
    std::vector<qint64> costs;
    costs.reserve(lines);
    QElapsedTimer timer;
    for (int i = 0; i < lines; ++i) {
        timer.start();
        veilora::DebugLog::log(QStringLiteral("shield: 顔判定 dist=0.1234 th=0.5000 %1").arg(i));
        costs.push_back(timer.nsecsElapsed());
    }
    std::sort(costs.begin(), costs.end());
    std::printf("log(): median %.1f us, p95 %.1f us over %d lines (with rotations)\n",
                costs[lines / 2] / 1000.0, costs[lines * 95 / 100] / 1000.0, lines);

    timer.start();
    const QString tail = veilora::DebugLog::tail();
    std::printf("tail(): %.2f ms for %lld characters\n", timer.nsecsElapsed() / 1e6,
                static_cast<long long>(tail.size()));
    return 0;
}
