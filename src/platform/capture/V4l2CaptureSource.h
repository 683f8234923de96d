#pragma once

#include "CaptureSource.h"

#include <QSocketNotifier>

#include <memory>
#include <opencv2/core/mat.hpp>
#include <vector>

namespace veilora {

// A Video4Linux camera streaming through memory-mapped buffers.
//
// It asks the driver for 640 × 480 in YUYV (the format nearly every webcam has
// at that size, converted to BGRA in well under a millisecond) or else Motion
// JPEG, and reads frames when the device's descriptor becomes readable, on the
// thread that opened it. At each wake-up it takes every finished buffer and keeps
// only the newest, so frames that came in during a long analysis are dropped, and
// converts that one only when its owner wants it.
class V4l2CaptureSource : public CaptureSource
{
public:
    static constexpr unsigned bufferCount = 4;

    static std::unique_ptr<V4l2CaptureSource> open(const CameraDevice &device);
    ~V4l2CaptureSource() override;

    CameraDevice device() const override { return m_device; }
    std::vector<FrameRateRange> frameRateRanges() const override { return m_rates; }
    bool setFrameRate(double fps, QString *error) override;
    void start() override;
    void stop() override;
    bool isRunning() const override { return m_running; }
    bool isConnected() const override;

private:
    struct Buffer
    {
        void *start = nullptr;
        size_t length = 0;
    };

    V4l2CaptureSource(CameraDevice device, int fd);
    bool configure(QString *error);
    void readFrames();
    QImage convert(const Buffer &buffer, size_t bytesUsed);
    void requeue(quint32 index);
    void releaseBuffers();
    void log(const QString &what) const;

    const CameraDevice m_device;
    int m_fd = -1;
    quint32 m_pixelFormat = 0;
    int m_width = 0;
    int m_height = 0;
    int m_bytesPerLine = 0;
    bool m_canSetRate = false;
    std::vector<FrameRateRange> m_rates;
    std::vector<Buffer> m_buffers;
    std::unique_ptr<QSocketNotifier> m_notifier;
    cv::Mat m_decoded; // reused, like the frames: see captureFrame()
    QImage m_frame;
    bool m_running = false;
    bool m_lost = false;
};

} // namespace veilora
