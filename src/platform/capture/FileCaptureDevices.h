#pragma once

#include "CaptureDevices.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QTimer>

#include <memory>
#include <opencv2/core/mat.hpp>

namespace veilora {

class VideoFileDecoder;

// A video file, a still image or a folder of images played as if it were a
// camera, so the product can be shown and tested on a machine without one. Its
// single device is external, named after the file, with the ID "file:" followed
// by the absolute path.
class FileCaptureDevices : public CaptureDevices
{
    Q_OBJECT
public:
    explicit FileCaptureDevices(const QString &path);

    std::vector<CameraDevice> devices() const override { return {m_device}; }
    std::unique_ptr<CaptureSource> open(const CameraDevice &device) override;

private:
    const CameraDevice m_device;
};

// Plays in real time from the moment it starts, in a loop; a stop pauses it.
// A video runs at its own rate until a lower one is set, then frames in between
// are skipped. A folder shows each image for `secondsPerImage`, in name order,
// as a camera delivering `stillFrameRate` frames per second would. An image
// replaced while it plays is shown anew within `secondsPerImage`, so a test or
// a demonstration can change what the camera sees by writing one file.
class FileCaptureSource : public CaptureSource
{
public:
    static constexpr double secondsPerImage = 1.0;
    static constexpr double stillFrameRate = 30.0;
    static constexpr double minimumFrameRate = 1.0;

    static std::unique_ptr<FileCaptureSource> open(const CameraDevice &device);
    ~FileCaptureSource() override;

    CameraDevice device() const override { return m_device; }
    std::vector<FrameRateRange> frameRateRanges() const override;
    bool setFrameRate(double fps, QString *error) override;
    void start() override;
    void stop() override;
    bool isRunning() const override { return m_timer.isActive(); }
    bool isConnected() const override;

private:
    explicit FileCaptureSource(CameraDevice device);
    int frameInterval() const; // milliseconds
    double playedSeconds() const;
    void tick();
    qint64 skipVideoTo(double position); // the index of the frame at `position`
    QImage videoFrame(double position);
    QImage stillFrame(double position);
    bool rewind();

    const CameraDevice m_device;
    bool m_isVideo = false;
    std::unique_ptr<VideoFileDecoder> m_video; // null once it broke down for good
    double m_videoRate = 0;
    qint64 m_nextVideoFrame = 0; // index of the frame the decoder reads next
    cv::Mat m_picture;           // reused: see captureFrame()
    QImage m_frame;
    QStringList m_images;
    int m_shownImage = -1;
    QImage m_still;
    QDateTime m_stillStamp;       // when the shown image was last written
    qint64 m_stillCheckedAt = -1; // whole seconds played, at the last look at the file
    QStringList m_unreadable;     // logged once each
    double m_rate = 0;
    double m_playedBeforeStart = 0;
    QElapsedTimer m_sinceStart;
    QTimer m_timer;
};

} // namespace veilora
