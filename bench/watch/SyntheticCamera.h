#pragma once

// A webcam without the hardware: raw frames at the rate it is set to, paced by
// a sensor thread of its own and picked up on the capture thread through a file
// descriptor, as a V4L2 device's are, so the process pays what it pays for a real
// camera (the wake-ups and the YUYV to BGRA conversion of the frames it wants)
// and nothing for decoding.

#include "platform/capture/CaptureDevices.h"

#include <QImage>
#include <QMutex>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class QSocketNotifier;

namespace veilora::bench {

// What the camera looks at; changed from any thread, seen from the next frame on.
class SyntheticScene
{
public:
    // `picture` is a 640 x 480 capture frame; it is held as the YUYV the device sends.
    void show(const QImage &picture);
    std::shared_ptr<const std::vector<uchar>> yuyv() const;

    std::atomic<long> framesExposed{0}; // by the sensor
    std::atomic<long> framesRead{0};    // and converted for the process

private:
    mutable QMutex m_lock;
    std::shared_ptr<const std::vector<uchar>> m_yuyv;
};

class SyntheticCaptureSource : public CaptureSource
{
public:
    SyntheticCaptureSource(CameraDevice device, std::shared_ptr<SyntheticScene> scene,
                           std::vector<FrameRateRange> ranges);
    ~SyntheticCaptureSource() override;

    CameraDevice device() const override { return m_device; }
    std::vector<FrameRateRange> frameRateRanges() const override { return m_ranges; }
    bool setFrameRate(double fps, QString *error) override;
    void start() override;
    void stop() override;
    bool isRunning() const override { return m_sensor.joinable(); }
    bool isConnected() const override { return true; }

private:
    void expose(); // the sensor thread
    void readFrame();

    const CameraDevice m_device;
    const std::shared_ptr<SyntheticScene> m_scene;
    const std::vector<FrameRateRange> m_ranges;
    std::atomic<double> m_rate;
    int m_ready = -1; // eventfd: frames exposed and not yet read
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::thread m_sensor;
    std::mutex m_sensorLock;
    std::condition_variable m_sensorWake;
    bool m_stopping = false;
    QImage m_frame; // recycled, as the real source does
};

class SyntheticCaptureDevices : public CaptureDevices
{
public:
    SyntheticCaptureDevices(std::shared_ptr<SyntheticScene> scene, std::vector<FrameRateRange> ranges);

    std::vector<CameraDevice> devices() const override { return {m_device}; }
    std::unique_ptr<CaptureSource> open(const CameraDevice &device) override;

private:
    const CameraDevice m_device;
    const std::shared_ptr<SyntheticScene> m_scene;
    const std::vector<FrameRateRange> m_ranges;
};

} // namespace veilora::bench
