// How long the shield takes to go up, and what its frost costs.
//
// Run on an X server of 1920 × 1080, e.g.
//   xvfb-run -a -s "-screen 0 1920x1080x24" build/bench/bench_shield
// "show -> mapped" runs from the call to show() until the X server has mapped
// and exposed every shield window (by then Qt has painted them).
#include "../BenchSupport.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/NotificationCenter.h"
#include "shield/FrostedBackdrop.h"
#include "shield/PrivacyOverlayController.h"
#include "shield/ShieldOverlayView.h"

#include <QApplication>
#include <QPainter>
#include <QScreen>
#include <QWidget>
#include <QWindow>

#include <cstdio>
#include <functional>

using namespace veilora;

namespace {

// Milliseconds of each of `runs` calls.
std::vector<double> timed(int runs, const std::function<void()> &work)
{
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        const double start = bench::wallSeconds();
        work();
        times.push_back((bench::wallSeconds() - start) * 1000);
    }
    return times;
}

void print(const char *what, const std::vector<double> &times)
{
    const bench::Figures figures = bench::figures(times);
    std::printf("%-28s median %7.2f ms   p95 %7.2f ms   best %7.2f ms\n", what, figures.median, figures.p95,
                *std::min_element(times.begin(), times.end()));
}

void settle(int milliseconds)
{
    const double until = bench::wallSeconds() + milliseconds / 1000.0;
    while (bench::wallSeconds() < until)
        QCoreApplication::processEvents();
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QScreen *screen = QGuiApplication::primaryScreen();
    if (!screen) {
        std::printf("no screen\n");
        return 1;
    }
    std::printf("platform %s, %d screen(s), main %dx%d\n", qPrintable(QGuiApplication::platformName()),
                int(QGuiApplication::screens().size()), screen->geometry().width(),
                screen->geometry().height());

    QImage desktop(1920, 1080, QImage::Format_RGB32);
    desktop.fill(QColor(246, 246, 243));
    {
        QPainter painter(&desktop);
        for (int y = 60; y < 1060; y += 24)
            painter.drawText(40, y,
                             QStringLiteral("The quick brown fox jumps over the lazy dog. ").repeated(6));
    }
    print("frost 1920x1080", timed(20, [&] { FrostedBackdrop::frost(desktop); }));
    print("grab the screen", timed(10, [&] { screen->grabWindow(0); }));
    print("capture (grab + frost)", timed(10, [&] { FrostedBackdrop::capture(QGuiApplication::screens()); }));
    {
        ShieldOverlayView view;
        view.setBackdrop(FrostedBackdrop::capture(QGuiApplication::screens()));
        view.setGeometry(screen->geometry());
        QImage target(view.size(), QImage::Format_RGB32);
        print("paint one overlay", timed(10, [&] { view.render(&target); }));
    }

    LocalNotificationCenter local;
    DBusNotificationCenter distributed(QDBusConnection::sessionBus());
    PrivacyOverlayController controller(local, distributed);
    const auto mapped = [&] {
        const QList<QWidget *> windows = controller.windows();
        return !windows.isEmpty() && std::all_of(windows.begin(), windows.end(), [](QWidget *window) {
            return window->windowHandle() && window->windowHandle()->isExposed();
        });
    };
    std::vector<double> calls;
    std::vector<double> total;
    for (int run = 0; run < 15; ++run) {
        const double start = bench::wallSeconds();
        controller.show();
        calls.push_back((bench::wallSeconds() - start) * 1000);
        while (!mapped() && bench::wallSeconds() - start < 5)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        total.push_back((bench::wallSeconds() - start) * 1000);
        controller.hide();
        settle(100);
    }
    print("show -> mapped", total);
    print("  the show() call itself", calls);
    return 0;
}
