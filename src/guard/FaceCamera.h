#pragma once

#include "platform/Clock.h"
#include "platform/capture/CaptureDevices.h"
#include "platform/vision/FaceVision.h"

#include <QImage>
#include <QMutex>
#include <QObject>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace veilora {

class SerialQueue;
class UserDefaults;

// Runs the camera and turns frames into samples for the guard: at most one frame
// per sampling interval is analysed (faces found, the three largest printed), and
// the sample goes to `onSample`. Also chooses the camera: the stored choice, else
// the built-in one, else the first listed, following cameras as they come and go.
//
// All capture work and all analysis run on one serial queue,
// "com.norvane.veilora.facecam"; `onSample` and `onDeviceChange` are called there.
// The public methods may be called from the main thread at any time.
class FaceCamera : public QObject
{
    Q_OBJECT
public:
    static constexpr int maxFaces = 3;
    static constexpr double faceBoxGrowth = 0.3; // of the box's size, on each side
    // Outside a preview the camera is asked for the slowest rate it offers that
    // still brings `framesPerInterval` frames per sampling interval, and never
    // more than `frameRateCap`: an analysed frame is then at most a quarter of an
    // interval old, and no more than five frames a second wake the camera queue.
    static constexpr double framesPerInterval = 4.0;
    static constexpr double frameRateCap = 5.0;
    static constexpr double initialSampleInterval = 0.6;
    // Samples this soon after the source began delivering (each start and each
    // camera switch) are marked `settling`. Webcams adjust exposure over about the
    // first second, and an over-exposed face prints far off (0.104 at twice the
    // light). With an exposure ramp of 1 s simulated, enrolling from the start
    // lifted thresholds to 0.785 and brought strangers to 0.734; leaving out the
    // first 0.5 s kept them at 0.734, the first 1 s moved them to 0.759.
    static constexpr double settlingSeconds = 1.0;
    static constexpr const char *cameraIDKey = "shieldCameraID";

    // The machine's cameras, the face models, the system clock and the user's
    // preferences (`defaults` null) unless others are given, as tests do.
    explicit FaceCamera(std::shared_ptr<CaptureDevices> devices = CaptureDevices::system(),
                        std::shared_ptr<FaceVision> vision = FaceVision::standard(),
                        Clock &clock = Clock::system(), UserDefaults *defaults = nullptr);
    ~FaceCamera() override;

    // Set once, before the first start().
    std::function<void(const FaceSample &)> onSample;
    std::function<void()> onDeviceChange; // after an automatic camera switch

    // The first start configures the capture once (retried by later starts until
    // it succeeds), then capture runs until stop().
    void start();
    void stop();

    // Minimum seconds between analysed frames.
    double sampleInterval() const { return m_sampleInterval.load(); }
    void setSampleInterval(double seconds);

    // While on, every frame is converted and comes at the fastest rate the camera
    // offers, for a live picture; off returns to the rate the sampling needs.
    // Kept across camera switches.
    void setPreviewing(bool on);

    // The frame rate to ask of a camera offering `ranges` (0 for none: it does
    // not tell), sampled every `interval` seconds.
    static double captureRate(const std::vector<FrameRateRange> &ranges, double interval, bool previewing);

    // Finds the faces of `frame` and prints the `maxFaces` largest ones, each from
    // its box grown by `faceBoxGrowth` per side and clipped to the frame.
    // `faceDetected` is true whenever a face was found, even without a print.
    static FaceSample facePrints(FaceVision &vision, const QImage &frame, int maxFaces);

    // Camera choice.
    std::vector<CameraDevice> availableDevices() const;
    std::optional<CameraDevice> preferredDevice() const;
    bool usesBuiltinCamera() const;
    std::optional<QString> activeDeviceID() const;
    void setDevice(const QString &uniqueID);
    void reevaluateDevice();

Q_SIGNALS:
    // Every frame converted, on the camera queue: all of them while previewing,
    // else the analysed ones. For a live picture (connect with a queued connection).
    void frameDelivered(const QImage &frame);

private:
    void configureIfNeeded();
    void applyFrameRate(CaptureSource &source);
    bool frameWanted(WallTime now) const; // to be converted at all
    bool analysisDue(WallTime now) const;
    void useInput(std::unique_ptr<CaptureSource> input);
    bool switchTo(const CameraDevice &device, const QString &logPrefix); // on the queue
    void captureOutput(const VideoFrame &frame);
    std::optional<CameraDevice> currentDevice() const;

    const std::shared_ptr<CaptureDevices> m_devices;
    const std::shared_ptr<FaceVision> m_vision;
    Clock &m_clock;
    UserDefaults &m_defaults;
    std::atomic<double> m_sampleInterval{initialSampleInterval};
    static_assert(std::atomic<double>::is_always_lock_free);

    // On the queue only.
    std::unique_ptr<CaptureSource> m_input;
    bool m_configured = false;
    bool m_running = false;
    bool m_previewing = false;
    double m_captureRate = 0;           // asked of m_input and granted; 0 before that
    std::vector<double> m_refusedRates; // by m_input
    bool m_awaitingFirstFrame = true;
    WallTime m_deliveringSince = distantPast;
    WallTime m_lastProcess = distantPast;

    mutable QMutex m_inputLock; // the device of m_input, for readers on other threads
    std::optional<CameraDevice> m_inputDevice;

    std::unique_ptr<SerialQueue> m_queue;
};

} // namespace veilora
