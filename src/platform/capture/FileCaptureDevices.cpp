#include "FileCaptureDevices.h"

#include "FrameConversion.h"
#include "VideoFileDecoder.h"
#include "platform/EventLog.h"

#include <QDir>
#include <QFileInfo>
#include <QImageReader>

#include <cmath>

namespace veilora {

namespace {

CameraDevice fileDevice(const QString &path)
{
    const QFileInfo info(path);
    CameraDevice device;
    device.uniqueID = QStringLiteral("file:") + info.absoluteFilePath();
    device.localizedName = info.fileName().isEmpty() ? info.absoluteFilePath() : info.fileName();
    device.kind = CameraDevice::Kind::external;
    device.location = info.absoluteFilePath();
    return device;
}

QStringList imageNameFilters()
{
    QStringList filters;
    for (const QByteArray &suffix : QImageReader::supportedImageFormats())
        filters << QStringLiteral("*.") + QString::fromLatin1(suffix);
    return filters;
}

void logProblem(const CameraDevice &device, const QString &what)
{
    EventLog::write(QStringLiteral("camera: %1: %2").arg(device.location, what));
}

} // namespace

FileCaptureDevices::FileCaptureDevices(const QString &path)
    : m_device(fileDevice(path))
{}

std::unique_ptr<CaptureSource> FileCaptureDevices::open(const CameraDevice &device)
{
    if (device.uniqueID != m_device.uniqueID) {
        logProblem(device, QStringLiteral("not the file being played"));
        return nullptr;
    }
    return FileCaptureSource::open(device);
}

std::unique_ptr<FileCaptureSource> FileCaptureSource::open(const CameraDevice &device)
{
    const QFileInfo info(device.location);
    std::unique_ptr<FileCaptureSource> source(new FileCaptureSource(device));
    if (!info.exists()) {
        logProblem(device, QStringLiteral("no such file or folder"));
        return nullptr;
    }
    if (info.isDir()) {
        const QDir folder(info.absoluteFilePath());
        for (const QString &name :
             folder.entryList(imageNameFilters(), QDir::Files | QDir::Readable, QDir::Name))
            source->m_images << folder.filePath(name);
        if (source->m_images.isEmpty()) {
            logProblem(device, QStringLiteral("the folder holds no images"));
            return nullptr;
        }
    } else if (QImageReader(info.absoluteFilePath()).canRead()) {
        source->m_images << info.absoluteFilePath();
    } else {
        QString error;
        source->m_video = VideoFileDecoder::open(info.absoluteFilePath(), &error);
        cv::Mat first;
        if (!source->m_video || !source->m_video->read(first) || first.empty()) {
            logProblem(device, source->m_video ? QStringLiteral("not a readable video or image") : error);
            return nullptr;
        }
        source->m_isVideo = true;
        const double rate = source->m_video->frameRate();
        source->m_videoRate = std::isfinite(rate) && rate >= minimumFrameRate && rate <= 240 ? rate : 25.0;
        source->m_nextVideoFrame = 1;
    }
    source->m_rate = source->m_isVideo ? source->m_videoRate : stillFrameRate;
    return source;
}

FileCaptureSource::FileCaptureSource(CameraDevice device)
    : m_device(std::move(device))
{
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this]() { tick(); });
}

FileCaptureSource::~FileCaptureSource() = default;

std::vector<FrameRateRange> FileCaptureSource::frameRateRanges() const
{
    return {{minimumFrameRate, m_isVideo ? m_videoRate : stillFrameRate}};
}

bool FileCaptureSource::setFrameRate(double fps, QString *error)
{
    const FrameRateRange range = frameRateRanges().front();
    if (!(fps >= range.minFrameRate && fps <= range.maxFrameRate)) {
        *error = QStringLiteral("%1 fps is outside %2–%3 fps")
                     .arg(fps, 0, 'f', 1)
                     .arg(range.minFrameRate, 0, 'f', 1)
                     .arg(range.maxFrameRate, 0, 'f', 1);
        return false;
    }
    m_rate = fps;
    m_timer.setInterval(frameInterval());
    return true;
}

void FileCaptureSource::start()
{
    if (m_timer.isActive())
        return;
    m_sinceStart.start();
    m_timer.start(frameInterval());
}

void FileCaptureSource::stop()
{
    if (!m_timer.isActive())
        return;
    m_playedBeforeStart = playedSeconds();
    m_timer.stop();
}

int FileCaptureSource::frameInterval() const
{
    return int(std::lround(1000 / m_rate));
}

bool FileCaptureSource::isConnected() const
{
    return QFileInfo::exists(m_device.location);
}

double FileCaptureSource::playedSeconds() const
{
    return m_playedBeforeStart + (m_timer.isActive() ? m_sinceStart.nsecsElapsed() / 1e9 : 0);
}

void FileCaptureSource::tick()
{
    const double position = playedSeconds();
    if (m_isVideo && !m_video) {
        m_timer.stop(); // the video broke down and could not be started again
        return;
    }
    if (!frameWanted()) {
        // The decoder still has to pass every frame, but none is converted.
        if (m_isVideo)
            skipVideoTo(position);
        return;
    }
    VideoFrame frame;
    frame.image = m_isVideo ? videoFrame(position) : stillFrame(position);
    if (m_isVideo && !m_video) {
        m_timer.stop();
        return;
    }
    if (onFrame)
        onFrame(frame);
}

qint64 FileCaptureSource::skipVideoTo(double position)
{
    const qint64 wanted = qint64(position * m_videoRate);
    // After a long stall (a suspended machine) jump ahead instead of decoding
    // everything missed.
    if (wanted - m_nextVideoFrame > qint64(2 * m_videoRate)) {
        m_video->seek(wanted);
        m_nextVideoFrame = wanted;
    }
    // A failure is left to the next frame read, which starts over or gives up.
    while (m_nextVideoFrame < wanted && m_video->skip())
        ++m_nextVideoFrame;
    return wanted;
}

QImage FileCaptureSource::videoFrame(double position)
{
    const qint64 wanted = skipVideoTo(position);
    bool read = m_nextVideoFrame >= wanted && m_video->read(m_picture);
    // At the end, or at an undecodable stretch, start over.
    if (!read && rewind())
        read = m_video->read(m_picture);
    if (read) {
        ++m_nextVideoFrame;
        m_frame = captureFrame(m_picture, std::move(m_frame));
        return m_frame;
    }
    if (m_video)
        logProblem(m_device, QStringLiteral("no more frames can be read"));
    m_video.reset();
    return {};
}

bool FileCaptureSource::rewind()
{
    // Reopening is the one restart every container supports.
    m_video.reset();
    QString error;
    m_video = VideoFileDecoder::open(m_device.location, &error);
    if (!m_video) {
        logProblem(m_device, QStringLiteral("cannot be opened again: ") + error);
        return false;
    }
    m_nextVideoFrame = 0;
    m_playedBeforeStart = 0;
    m_sinceStart.start();
    return true;
}

QImage FileCaptureSource::stillFrame(double position)
{
    const int shown = int(std::fmod(position / secondsPerImage, double(m_images.size())));
    // A look at the file's time once per image period costs next to nothing.
    const qint64 period = qint64(position / secondsPerImage);
    const bool look = period != m_stillCheckedAt;
    m_stillCheckedAt = period;
    const QDateTime written = look ? QFileInfo(m_images.at(shown)).lastModified() : m_stillStamp;
    if (shown != m_shownImage || written != m_stillStamp) {
        m_shownImage = shown;
        m_stillStamp = written;
        const QString &path = m_images.at(shown);
        QImageReader reader(path);
        reader.setAutoTransform(true);
        const QImage picture = reader.read().convertToFormat(QImage::Format_RGB32);
        m_still = captureFrame(bgraView(picture));
        if (m_still.isNull() && !m_unreadable.contains(path)) {
            m_unreadable << path;
            logProblem(m_device, QStringLiteral("cannot read image %1: %2").arg(path, reader.errorString()));
        }
    }
    return m_still;
}

} // namespace veilora
