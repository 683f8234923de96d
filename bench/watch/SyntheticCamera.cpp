#include "SyntheticCamera.h"

#include "platform/capture/FrameConversion.h"

#include <QSocketNotifier>

#include <algorithm>
#include <chrono>
#include <opencv2/imgproc.hpp>
#include <sys/eventfd.h>
#include <unistd.h>

namespace veilora::bench {

namespace {

uchar clampByte(double value)
{
    return uchar(std::clamp(value, 0.0, 255.0) + 0.5);
}

} // namespace

void SyntheticScene::show(const QImage &picture)
{
    const QImage frame = picture.convertToFormat(QImage::Format_RGB32);
    const int width = frame.width(), height = frame.height();
    auto yuyv = std::make_shared<std::vector<uchar>>(size_t(width) * size_t(height) * 2);
    // BT.601 studio range, two pixels sharing one chroma pair: what UVC webcams send.
    for (int y = 0; y < height; ++y) {
        const QRgb *line = reinterpret_cast<const QRgb *>(frame.constScanLine(y));
        uchar *out = yuyv->data() + size_t(y) * size_t(width) * 2;
        for (int x = 0; x + 1 < width; x += 2) {
            const auto luma = [](QRgb p) {
                return 16 + (65.738 * qRed(p) + 129.057 * qGreen(p) + 25.064 * qBlue(p)) / 256;
            };
            const QRgb a = line[x], b = line[x + 1];
            const double r = (qRed(a) + qRed(b)) / 2.0, g = (qGreen(a) + qGreen(b)) / 2.0,
                         bl = (qBlue(a) + qBlue(b)) / 2.0;
            out[x * 2] = clampByte(luma(a));
            out[x * 2 + 1] = clampByte(128 + (-37.945 * r - 74.494 * g + 112.439 * bl) / 256);
            out[x * 2 + 2] = clampByte(luma(b));
            out[x * 2 + 3] = clampByte(128 + (112.439 * r - 94.154 * g - 18.285 * bl) / 256);
        }
    }
    QMutexLocker lock(&m_lock);
    m_yuyv = std::move(yuyv);
}

std::shared_ptr<const std::vector<uchar>> SyntheticScene::yuyv() const
{
    QMutexLocker lock(&m_lock);
    return m_yuyv;
}

SyntheticCaptureSource::SyntheticCaptureSource(CameraDevice device, std::shared_ptr<SyntheticScene> scene,
                                               std::vector<FrameRateRange> ranges)
    : m_device(std::move(device))
    , m_scene(std::move(scene))
    , m_ranges(std::move(ranges))
    , m_rate(m_ranges.empty() ? 30.0 : m_ranges.back().maxFrameRate)
{}

SyntheticCaptureSource::~SyntheticCaptureSource()
{
    stop();
}

bool SyntheticCaptureSource::setFrameRate(double fps, QString *error)
{
    const bool offered = std::any_of(m_ranges.begin(), m_ranges.end(), [&](const FrameRateRange &range) {
        return fps >= range.minFrameRate - 1e-6 && fps <= range.maxFrameRate + 1e-6;
    });
    if (!offered) {
        *error = QStringLiteral("%1 fps is not offered").arg(fps);
        return false;
    }
    m_rate.store(fps);
    return true;
}

void SyntheticCaptureSource::start()
{
    if (isRunning())
        return;
    m_ready = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (m_ready < 0)
        return;
    m_notifier = std::make_unique<QSocketNotifier>(m_ready, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this]() { readFrame(); });
    m_stopping = false;
    m_sensor = std::thread([this]() { expose(); });
}

void SyntheticCaptureSource::stop()
{
    if (!isRunning())
        return;
    {
        std::lock_guard lock(m_sensorLock);
        m_stopping = true;
    }
    m_sensorWake.notify_all();
    m_sensor.join();
    m_notifier.reset();
    ::close(m_ready);
    m_ready = -1;
}

void SyntheticCaptureSource::expose()
{
    using Clock = std::chrono::steady_clock;
    auto next = Clock::now();
    std::unique_lock lock(m_sensorLock);
    for (;;) {
        next +=
            std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1.0 / m_rate.load()));
        if (m_sensorWake.wait_until(lock, next, [this] { return m_stopping; }))
            return;
        const uint64_t one = 1;
        if (::write(m_ready, &one, sizeof one) != sizeof one)
            return;
    }
}

void SyntheticCaptureSource::readFrame()
{
    // Frames that piled up while the previous one was handled are dropped: only
    // the newest is delivered.
    uint64_t exposed = 0;
    if (::read(m_ready, &exposed, sizeof exposed) != sizeof exposed || exposed == 0)
        return;
    m_scene->framesExposed.fetch_add(long(exposed));
    if (!frameWanted())
        return;
    const std::shared_ptr<const std::vector<uchar>> yuyv = m_scene->yuyv();
    VideoFrame frame;
    if (yuyv) {
        frame.image = blankCaptureFrame(std::move(m_frame));
        const cv::Mat raw(frameHeight, frameWidth, CV_8UC2, const_cast<uchar *>(yuyv->data()));
        cv::Mat target(frameHeight, frameWidth, CV_8UC4, frame.image.bits(),
                       size_t(frame.image.bytesPerLine()));
        cv::cvtColor(raw, target, cv::COLOR_YUV2BGRA_YUYV);
        m_frame = frame.image;
    }
    m_scene->framesRead.fetch_add(1);
    if (onFrame)
        onFrame(frame);
}

SyntheticCaptureDevices::SyntheticCaptureDevices(std::shared_ptr<SyntheticScene> scene,
                                                 std::vector<FrameRateRange> ranges)
    : m_device{QStringLiteral("synthetic:webcam"), QStringLiteral("Synthetic webcam"),
               CameraDevice::Kind::external, QStringLiteral("synthetic")}
    , m_scene(std::move(scene))
    , m_ranges(std::move(ranges))
{}

std::unique_ptr<CaptureSource> SyntheticCaptureDevices::open(const CameraDevice &device)
{
    if (device.uniqueID != m_device.uniqueID)
        return nullptr;
    return std::make_unique<SyntheticCaptureSource>(m_device, m_scene, m_ranges);
}

} // namespace veilora::bench
