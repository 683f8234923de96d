#pragma once

#include "platform/capture/CaptureDevices.h"

#include <QMutex>
#include <QSet>

#include <map>
#include <memory>

namespace veilora {

// Cameras for tests: plugged in and out at will, opening as told, and passing on
// the frames the test hands them, one at a time.
//
// Per-device questions (`deliver`, `isStreaming`, …) concern the source opened
// last for that device. Thread-safe.
class FakeCaptureDevices : public CaptureDevices
{
    Q_OBJECT
public:
    struct Behaviour
    {
        std::vector<FrameRateRange> frameRates{{2.0, 30.0}};
        QString frameRateRefusal; // when set, setFrameRate fails with this reason
        bool opens = true;
    };

    FakeCaptureDevices();
    explicit FakeCaptureDevices(std::vector<CameraDevice> devices);
    ~FakeCaptureDevices() override;

    std::vector<CameraDevice> devices() const override;
    std::unique_ptr<CaptureSource> open(const CameraDevice &device) override;

    void setBehaviour(const QString &uniqueID, Behaviour behaviour);

    // Adds the device (at the end of the list) and announces it.
    void plug(const CameraDevice &device);
    // Removes the device, cuts its open source off and announces it.
    void unplug(const QString &uniqueID);

    // Hands `frame` to the source on its own thread, as a camera would, and
    // returns once it was handled; false when that source is absent or stopped.
    // A frame the source's owner does not want is handed back unread.
    bool deliver(const QString &uniqueID, const VideoFrame &frame);
    int framesRead(const QString &uniqueID) const; // delivered and wanted

    int openCount(const QString &uniqueID) const;
    bool isStreaming(const QString &uniqueID) const;
    std::vector<double> requestedFrameRates(const QString &uniqueID) const;

    struct Channel; // what a source shares with the devices that opened it

private:
    std::shared_ptr<Channel> channel(const QString &uniqueID) const;

    mutable QMutex m_mutex;
    std::vector<CameraDevice> m_devices;
    std::map<QString, Behaviour> m_behaviour;
    std::map<QString, int> m_opens;
    std::map<QString, std::weak_ptr<Channel>> m_channels;
};

} // namespace veilora
