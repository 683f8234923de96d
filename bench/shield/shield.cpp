// How long the shield takes to go up, and what its frost costs.
//
// Run on an X server of 1920 × 1080, e.g.
//   xvfb-run -a -s "-screen 0 1920x1080x24" build/bench/bench_shield
// "show -> mapped" runs from the call to show() until the X server has mapped
// and exposed every shield window (by then Qt has painted them); the first show
// also makes the windows, later ones only map them again. "hide -> unmapped"
// runs from hide() until the X server has unmapped them all.
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
    QList<QWidget *> shown;
    const auto exposed = [&](bool all) {
        return std::all_of(shown.begin(), shown.end(), [all](QWidget *window) {
            return window->windowHandle() && window->windowHandle()->isExposed() == all;
        });
    };
    const auto waitFor = [&](double start, const std::function<bool()> &done) {
        while (!done() && bench::wallSeconds() - start < 5)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        return (bench::wallSeconds() - start) * 1000;
    };
    std::vector<double> calls, total, hides;
    double first = 0;
    for (int run = 0; run < 16; ++run) {
        double start = bench::wallSeconds();
        controller.show();
        const double call = (bench::wallSeconds() - start) * 1000;
        shown = controller.windows();
        const double mapped = waitFor(start, [&] { return exposed(true); });
        if (run == 0) {
            first = mapped;
        } else {
            calls.push_back(call);
            total.push_back(mapped);
        }
        settle(50);
        start = bench::wallSeconds();
        controller.hide();
        hides.push_back(waitFor(start, [&] { return exposed(false); }));
        settle(100);
    }
    std::printf("%-28s %7.2f ms (makes the windows)\n", "first show -> mapped", first);
    print("show -> mapped", total);
    print("  the show() call itself", calls);
    print("hide -> unmapped", hides);
    return 0;
}
