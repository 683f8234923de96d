#include "FaceCamera.h"

#include "platform/EventLog.h"
#include "platform/SerialQueue.h"
#include "platform/UserDefaults.h"

#include <algorithm>

namespace veilora {

namespace {

void log(const QString &line)
{
    EventLog::write(QStringLiteral("shield: ") + line);
}

} // namespace

FaceCamera::FaceCamera(std::shared_ptr<CaptureDevices> devices, std::shared_ptr<FaceVision> vision,
                       Clock &clock, UserDefaults *defaults)
    : m_devices(std::move(devices))
    , m_vision(std::move(vision))
    , m_clock(clock)
    , m_defaults(defaults ? *defaults : UserDefaults::standard())
    , m_queue(std::make_unique<SerialQueue>(QStringLiteral("com.norvane.veilora.facecam")))
{
    // Only hands the work to the queue, on whatever thread announces the change.
    const auto reevaluate = [this](const QString &) { reevaluateDevice(); };
    connect(m_devices.get(), &CaptureDevices::deviceConnected, this, reevaluate, Qt::DirectConnection);
    connect(m_devices.get(), &CaptureDevices::deviceDisconnected, this, reevaluate, Qt::DirectConnection);
}

FaceCamera::~FaceCamera()
{
    // No more work can be queued once the hotplug notifications are cut; the
    // capture source belongs to the queue's thread and goes there.
    disconnect(m_devices.get(), nullptr, this, nullptr);
    m_queue->sync([this]() { m_input.reset(); });
    m_queue.reset();
}

void FaceCamera::start()
{
    m_queue->async([this]() {
        configureIfNeeded();
        if (!m_running) {
            m_running = true;
            m_awaitingFirstFrame = true;
            if (m_input)
                m_input->start();
        }
    });
}

void FaceCamera::stop()
{
    m_queue->async([this]() {
        if (!m_running)
            return;
        m_running = false;
        if (m_input)
            m_input->stop();
    });
}

void FaceCamera::configureIfNeeded()
{
    if (m_configured)
        return;
    const std::optional<CameraDevice> device = preferredDevice();
    std::unique_ptr<CaptureSource> input = device ? m_devices->open(*device) : nullptr;
    if (!input) {
        log(QStringLiteral("カメラ入力を構成できません"));
        return;
    }
    useInput(std::move(input));
    log(QStringLiteral("カメラ: ") + device->localizedName);
    m_configured = true;
}

void FaceCamera::setSampleInterval(double seconds)
{
    // The guard sets it after every sample; only a change reaches the camera.
    if (m_sampleInterval.exchange(seconds) == seconds)
        return;
    m_queue->async([this]() {
        if (m_input)
            applyFrameRate(*m_input);
    });
}

void FaceCamera::setPreviewing(bool on)
{
    m_queue->async([this, on]() {
        if (m_previewing == on)
            return;
        m_previewing = on;
        if (m_input)
            applyFrameRate(*m_input);
    });
}

double FaceCamera::captureRate(const std::vector<FrameRateRange> &ranges, double interval, bool previewing)
{
    double fastest = 0;
    for (const FrameRateRange &range : ranges)
        fastest = std::max(fastest, range.maxFrameRate);
    if (previewing || fastest <= 0)
        return fastest;
    const double needed = interval > 0 ? std::min(framesPerInterval / interval, frameRateCap) : frameRateCap;
    // The slowest rate offered at or above `needed`, else the fastest there is.
    double rate = fastest;
    for (const FrameRateRange &range : ranges) {
        const double lowest = std::max(range.minFrameRate, needed);
        if (lowest <= range.maxFrameRate)
            rate = std::min(rate, lowest);
    }
    return rate;
}

void FaceCamera::applyFrameRate(CaptureSource &source)
{
    const double rate = captureRate(source.frameRateRanges(), sampleInterval(), m_previewing);
    // A rate the device refused once is not asked again (nor logged again).
    if (rate <= 0 || rate == m_captureRate ||
        std::find(m_refusedRates.begin(), m_refusedRates.end(), rate) != m_refusedRates.end())
        return;
    QString error;
    if (source.setFrameRate(rate, &error)) {
        m_captureRate = rate;
    } else {
        m_refusedRates.push_back(rate);
        log(QStringLiteral("fps 制限失敗: ") + error);
    }
}

bool FaceCamera::frameWanted(WallTime now) const
{
    return m_previewing || m_awaitingFirstFrame || analysisDue(now);
}

bool FaceCamera::analysisDue(WallTime now) const
{
    // Frames come at 1/rate steps that jitter: half a step early is on time,
    // or a 2.0 s interval at 2 fps would often wait for the next one.
    const double slack = m_captureRate > 0 ? 0.5 / m_captureRate : 0;
    return secondsBetween(m_lastProcess, now) + slack >= sampleInterval();
}

void FaceCamera::useInput(std::unique_ptr<CaptureSource> input)
{
    if (m_input)
        m_input->stop();
    m_input = std::move(input);
    m_awaitingFirstFrame = true;
    m_captureRate = 0; // a fresh device runs at its own rate until asked
    m_refusedRates.clear();
    applyFrameRate(*m_input);
    m_input->wantsFrame = [this]() { return frameWanted(m_clock.now()); };
    m_input->onFrame = [this](const VideoFrame &frame) { captureOutput(frame); };
    {
        QMutexLocker lock(&m_inputLock);
        m_inputDevice = m_input->device();
    }
    if (m_running)
        m_input->start();
}

void FaceCamera::captureOutput(const VideoFrame &frame)
{
    if (frame.image.isNull())
        return;
    Q_EMIT frameDelivered(frame.image);
    const WallTime now = m_clock.now();
    // Exposure starts adjusting with the first frame, however long the device
    // took to open.
    if (m_awaitingFirstFrame) {
        m_awaitingFirstFrame = false;
        m_deliveringSince = now;
    }
    if (!analysisDue(now))
        return;
    m_lastProcess = now;
    FaceSample sample = facePrints(*m_vision, frame.image, maxFaces);
    sample.settling = secondsBetween(m_deliveringSince, now) < settlingSeconds;
    if (onSample)
        onSample(sample);
}

FaceSample FaceCamera::facePrints(FaceVision &vision, const QImage &frame, int maxFaces)
{
    std::vector<QRectF> faces = vision.detectFaces(frame);
    if (faces.empty())
        return {};
    const double width = frame.width(), height = frame.height();
    std::stable_sort(faces.begin(), faces.end(), [](const QRectF &a, const QRectF &b) {
        return a.width() * a.height() > b.width() * b.height();
    });
    if (faces.size() > size_t(std::max(maxFaces, 0)))
        faces.resize(size_t(std::max(maxFaces, 0)));

    FaceSample sample;
    sample.faceDetected = true;
    for (const QRectF &face : faces) {
        const double dx = face.width() * faceBoxGrowth, dy = face.height() * faceBoxGrowth;
        const QRectF grown = face.adjusted(-dx, -dy, dx, dy).intersected(QRectF(0, 0, 1, 1));
        if (grown.isEmpty())
            continue;
        // Normalized boxes count y upwards from the bottom; images downwards from the top.
        const auto toPixels = [&](const QRectF &r) {
            return QRectF(r.x() * width, (1 - r.y() - r.height()) * height, r.width() * width,
                          r.height() * height);
        };
        const QRect cropRect = toPixels(grown).toAlignedRect().intersected(frame.rect());
        if (cropRect.isEmpty())
            continue;
        const QRectF faceInCrop = toPixels(face).translated(-cropRect.topLeft());
        if (std::optional<FeaturePrint> print = vision.featurePrint(frame.copy(cropRect), faceInCrop))
            sample.prints.push_back(std::move(*print));
    }
    return sample;
}

std::vector<CameraDevice> FaceCamera::availableDevices() const
{
    return m_devices->devices();
}

std::optional<CameraDevice> FaceCamera::preferredDevice() const
{
    const std::vector<CameraDevice> devices = availableDevices();
    if (const std::optional<QString> stored = m_defaults.stringValue(QLatin1String(cameraIDKey))) {
        for (const CameraDevice &device : devices) {
            if (device.uniqueID == *stored)
                return device;
        }
    }
    // Linux has no default camera apart from the list: with none listed there is none.
    if (devices.empty())
        return std::nullopt;
    const auto builtin = std::find_if(devices.begin(), devices.end(), [](const CameraDevice &d) {
        return d.kind == CameraDevice::Kind::builtin;
    });
    return builtin != devices.end() ? *builtin : devices.front();
}

std::optional<CameraDevice> FaceCamera::currentDevice() const
{
    QMutexLocker lock(&m_inputLock);
    return m_inputDevice;
}

bool FaceCamera::usesBuiltinCamera() const
{
    std::optional<CameraDevice> device = currentDevice();
    if (!device)
        device = preferredDevice();
    return device && device->kind == CameraDevice::Kind::builtin;
}

std::optional<QString> FaceCamera::activeDeviceID() const
{
    const std::optional<CameraDevice> device = currentDevice();
    return device ? std::optional<QString>(device->uniqueID) : std::nullopt;
}

void FaceCamera::setDevice(const QString &uniqueID)
{
    m_defaults.setString(QLatin1String(cameraIDKey), uniqueID);
    m_queue->async([this, uniqueID]() {
        if (!m_configured)
            return; // the first configuration picks the stored choice
        const std::vector<CameraDevice> devices = availableDevices();
        const auto device = std::find_if(devices.begin(), devices.end(),
                                         [&](const CameraDevice &d) { return d.uniqueID == uniqueID; });
        if (device == devices.end())
            return;
        switchTo(*device, QStringLiteral("カメラ切替: "));
    });
}

void FaceCamera::reevaluateDevice()
{
    m_queue->async([this]() {
        if (!m_configured) {
            // Capture is wanted but found no camera to open: take the one that came.
            if (m_running) {
                configureIfNeeded();
                if (m_configured && onDeviceChange)
                    onDeviceChange();
            }
            return;
        }
        const std::optional<CameraDevice> preferred = preferredDevice();
        if (!preferred)
            return;
        if (m_input && m_input->device().uniqueID == preferred->uniqueID && m_input->isConnected())
            return;
        if (switchTo(*preferred, QStringLiteral("カメラ自動切替: ")) && onDeviceChange)
            onDeviceChange();
    });
}

bool FaceCamera::switchTo(const CameraDevice &device, const QString &logPrefix)
{
    // A camera that cannot be opened leaves the current one in place.
    std::unique_ptr<CaptureSource> input = m_devices->open(device);
    if (!input)
        return false;
    useInput(std::move(input));
    log(logPrefix + device.localizedName);
    return true;
}

} // namespace veilora
