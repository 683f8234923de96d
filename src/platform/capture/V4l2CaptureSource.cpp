#include "V4l2CaptureSource.h"

#include "FrameConversion.h"
#include "platform/EventLog.h"

#include <QFile>
#include <QScopeGuard>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <linux/videodev2.h>
#include <opencv2/imgproc.hpp>
#include <optional>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace veilora {

namespace {

int xioctl(int fd, unsigned long request, void *argument)
{
    int result;
    do {
        result = ::ioctl(fd, request, argument);
    } while (result < 0 && errno == EINTR);
    return result;
}

QString systemError(int code = errno)
{
    return QString::fromLocal8Bit(std::strerror(code));
}

std::vector<FrameRateRange> frameRates(int fd, quint32 pixelFormat, int width, int height)
{
    std::vector<FrameRateRange> rates;
    v4l2_frmivalenum interval{};
    interval.pixel_format = pixelFormat;
    interval.width = quint32(width);
    interval.height = quint32(height);
    for (interval.index = 0; xioctl(fd, VIDIOC_ENUM_FRAMEINTERVALS, &interval) == 0; ++interval.index) {
        if (interval.type == V4L2_FRMIVAL_TYPE_DISCRETE) {
            if (interval.discrete.numerator == 0)
                continue;
            const double fps = double(interval.discrete.denominator) / interval.discrete.numerator;
            rates.push_back({fps, fps});
        } else {
            // Continuous or stepwise: one range, from the longest interval to the shortest.
            const auto &w = interval.stepwise;
            if (w.max.numerator == 0 || w.min.numerator == 0)
                break;
            rates.push_back(
                {double(w.max.denominator) / w.max.numerator, double(w.min.denominator) / w.min.numerator});
            break;
        }
    }
    std::sort(rates.begin(), rates.end(), [](const FrameRateRange &a, const FrameRateRange &b) {
        return a.minFrameRate < b.minFrameRate;
    });
    return rates;
}

} // namespace

std::unique_ptr<V4l2CaptureSource> V4l2CaptureSource::open(const CameraDevice &device)
{
    const int fd = ::open(QFile::encodeName(device.location).constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        EventLog::write(QStringLiteral("camera: cannot open %1 (%2): %3")
                            .arg(device.localizedName, device.location, systemError()));
        return nullptr;
    }
    std::unique_ptr<V4l2CaptureSource> source(new V4l2CaptureSource(device, fd));
    QString error;
    if (!source->configure(&error)) {
        source->log(QStringLiteral("cannot use it: ") + error);
        return nullptr;
    }
    return source;
}

V4l2CaptureSource::V4l2CaptureSource(CameraDevice device, int fd)
    : m_device(std::move(device))
    , m_fd(fd)
{}

V4l2CaptureSource::~V4l2CaptureSource()
{
    stop();
    ::close(m_fd);
}

void V4l2CaptureSource::log(const QString &what) const
{
    EventLog::write(
        QStringLiteral("camera: %1 (%2): %3").arg(m_device.localizedName, m_device.location, what));
}

bool V4l2CaptureSource::configure(QString *error)
{
    v4l2_capability caps{};
    if (xioctl(m_fd, VIDIOC_QUERYCAP, &caps) < 0) {
        *error = QStringLiteral("not a video device (%1)").arg(systemError());
        return false;
    }
    const quint32 flags = (caps.capabilities & V4L2_CAP_DEVICE_CAPS) ? caps.device_caps : caps.capabilities;
    if (!(flags & V4L2_CAP_VIDEO_CAPTURE) || !(flags & V4L2_CAP_STREAMING)) {
        *error = QStringLiteral("no streaming video capture");
        return false;
    }

    bool hasYuyv = false, hasMjpeg = false;
    v4l2_fmtdesc description{};
    description.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    for (description.index = 0; xioctl(m_fd, VIDIOC_ENUM_FMT, &description) == 0; ++description.index) {
        hasYuyv |= description.pixelformat == V4L2_PIX_FMT_YUYV;
        hasMjpeg |= description.pixelformat == V4L2_PIX_FMT_MJPEG;
    }
    if (!hasYuyv && !hasMjpeg) {
        *error = QStringLiteral("offers neither YUYV nor Motion JPEG");
        return false;
    }

    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    format.fmt.pix.width = frameWidth;
    format.fmt.pix.height = frameHeight;
    format.fmt.pix.pixelformat = hasYuyv ? V4L2_PIX_FMT_YUYV : V4L2_PIX_FMT_MJPEG;
    format.fmt.pix.field = V4L2_FIELD_NONE;
    if (xioctl(m_fd, VIDIOC_S_FMT, &format) < 0) {
        *error = QStringLiteral("cannot set the format (%1)").arg(systemError());
        return false;
    }
    m_pixelFormat = format.fmt.pix.pixelformat;
    m_width = int(format.fmt.pix.width);
    m_height = int(format.fmt.pix.height);
    m_bytesPerLine = int(format.fmt.pix.bytesperline);
    if ((m_pixelFormat != V4L2_PIX_FMT_YUYV && m_pixelFormat != V4L2_PIX_FMT_MJPEG) || m_width <= 0 ||
        m_height <= 0) {
        *error = QStringLiteral("the driver chose an unusable format");
        return false;
    }
    if (m_pixelFormat == V4L2_PIX_FMT_YUYV && m_bytesPerLine < m_width * 2)
        m_bytesPerLine = m_width * 2;

    m_rates = frameRates(m_fd, m_pixelFormat, m_width, m_height);
    v4l2_streamparm parameters{};
    parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    m_canSetRate = xioctl(m_fd, VIDIOC_G_PARM, &parameters) == 0 &&
                   (parameters.parm.capture.capability & V4L2_CAP_TIMEPERFRAME);
    return true;
}

bool V4l2CaptureSource::setFrameRate(double fps, QString *error)
{
    if (!m_canSetRate) {
        *error = QStringLiteral("the driver does not let the frame rate be set");
        return false;
    }
    // Most drivers (uvcvideo among them) refuse a new rate while streaming: the
    // stream pauses for the change. The camera keeps its exposure meanwhile.
    const bool wasRunning = m_running;
    stop();
    const auto restart = qScopeGuard([&] {
        if (wasRunning)
            start();
    });
    v4l2_streamparm parameters{};
    parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    parameters.parm.capture.timeperframe.numerator = 1000;
    parameters.parm.capture.timeperframe.denominator = quint32(std::lround(fps * 1000));
    if (xioctl(m_fd, VIDIOC_S_PARM, &parameters) < 0) {
        *error = systemError();
        return false;
    }
    // Drivers round to the nearest rate they have; anything else is a refusal.
    const auto &chosen = parameters.parm.capture.timeperframe;
    const double actual = chosen.numerator ? double(chosen.denominator) / chosen.numerator : 0;
    if (std::abs(actual - fps) > 0.01) {
        *error = QStringLiteral("the device runs at %1 fps instead").arg(actual, 0, 'f', 1);
        return false;
    }
    return true;
}

void V4l2CaptureSource::start()
{
    if (m_running || m_lost)
        return;
    v4l2_requestbuffers request{};
    request.count = bufferCount;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    if (xioctl(m_fd, VIDIOC_REQBUFS, &request) < 0 || request.count < 2) {
        log(QStringLiteral("cannot start: no capture buffers (%1)").arg(systemError()));
        return;
    }
    for (quint32 i = 0; i < request.count; ++i) {
        v4l2_buffer buffer{};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        buffer.index = i;
        void *start = MAP_FAILED;
        if (xioctl(m_fd, VIDIOC_QUERYBUF, &buffer) == 0)
            start = ::mmap(nullptr, buffer.length, PROT_READ | PROT_WRITE, MAP_SHARED, m_fd, buffer.m.offset);
        if (start == MAP_FAILED || xioctl(m_fd, VIDIOC_QBUF, &buffer) < 0) {
            if (start != MAP_FAILED)
                ::munmap(start, buffer.length);
            log(QStringLiteral("cannot start: buffer %1 (%2)").arg(i).arg(systemError()));
            releaseBuffers();
            return;
        }
        m_buffers.push_back({start, buffer.length});
    }
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (xioctl(m_fd, VIDIOC_STREAMON, &type) < 0) {
        log(QStringLiteral("cannot start: %1").arg(systemError()));
        releaseBuffers();
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(m_fd, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this]() { readFrames(); });
    m_running = true;
}

void V4l2CaptureSource::stop()
{
    if (!m_running)
        return;
    m_notifier.reset();
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    xioctl(m_fd, VIDIOC_STREAMOFF, &type);
    releaseBuffers();
    m_running = false;
}

void V4l2CaptureSource::releaseBuffers()
{
    for (const Buffer &buffer : m_buffers)
        ::munmap(buffer.start, buffer.length);
    m_buffers.clear();
    v4l2_requestbuffers request{};
    request.count = 0;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    xioctl(m_fd, VIDIOC_REQBUFS, &request);
}

bool V4l2CaptureSource::isConnected() const
{
    if (m_lost)
        return false;
    v4l2_capability caps{};
    return xioctl(m_fd, VIDIOC_QUERYCAP, &caps) == 0 || errno != ENODEV;
}

void V4l2CaptureSource::requeue(quint32 index)
{
    v4l2_buffer buffer{};
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    buffer.index = index;
    xioctl(m_fd, VIDIOC_QBUF, &buffer);
}

void V4l2CaptureSource::readFrames()
{
    std::optional<v4l2_buffer> newest;
    for (;;) {
        v4l2_buffer buffer{};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        if (xioctl(m_fd, VIDIOC_DQBUF, &buffer) < 0) {
            if (errno == EAGAIN)
                break;
            // Unplugged (ENODEV) or broken (EIO): no more frames from this descriptor.
            log(QStringLiteral("stopped delivering: %1").arg(systemError()));
            m_lost = true;
            m_notifier->setEnabled(false);
            break;
        }
        if (newest)
            requeue(newest->index);
        newest = buffer;
    }
    if (!newest || newest->index >= m_buffers.size())
        return;
    if (!frameWanted()) {
        requeue(newest->index);
        return;
    }
    VideoFrame frame;
    if (!(newest->flags & V4L2_BUF_FLAG_ERROR) && newest->bytesused > 0) {
        frame.image = convert(m_buffers[newest->index], newest->bytesused);
        m_frame = frame.image; // recycled once the receivers let go of it
    }
    requeue(newest->index);
    if (onFrame)
        onFrame(frame);
}

QImage V4l2CaptureSource::convert(const Buffer &buffer, size_t bytesUsed)
{
    try {
        if (m_pixelFormat == V4L2_PIX_FMT_MJPEG) {
            // Qt's JPEG reader, loaded only for such a camera, rather than OpenCV's
            // image codecs, which bring some 30 MB of libraries into the process.
            const QImage decoded =
                QImage::fromData(QByteArray::fromRawData(static_cast<const char *>(buffer.start),
                                                         qsizetype(std::min(bytesUsed, buffer.length))),
                                 "JPEG");
            if (decoded.isNull())
                return {};
            return decoded.size() == QSize(frameWidth, frameHeight) &&
                           decoded.format() == QImage::Format_RGB32
                       ? decoded
                       : captureFrame(bgraView(decoded.convertToFormat(QImage::Format_RGB32)),
                                      std::move(m_frame));
        }
        if (size_t(m_bytesPerLine) * size_t(m_height) > buffer.length)
            return {};
        const cv::Mat yuyv(m_height, m_width, CV_8UC2, buffer.start, size_t(m_bytesPerLine));
        if (m_width == frameWidth && m_height == frameHeight) {
            QImage frame = blankCaptureFrame(std::move(m_frame));
            cv::Mat target(frameHeight, frameWidth, CV_8UC4, frame.bits(), size_t(frame.bytesPerLine()));
            cv::cvtColor(yuyv, target, cv::COLOR_YUV2BGRA_YUYV);
            return frame;
        }
        cv::cvtColor(yuyv, m_decoded, cv::COLOR_YUV2BGRA_YUYV);
        return captureFrame(m_decoded, std::move(m_frame));
    } catch (const cv::Exception &) {
        return {}; // a damaged frame: delivered without image
    }
}

} // namespace veilora
