#pragma once

#include "CameraDevice.h"

#include <QString>

#include <functional>
#include <vector>

namespace veilora {

// An opened camera: the input of a capture session. It lives on the thread that
// opened it, delivers its frames there and must be used and destroyed there.
class CaptureSource
{
public:
    static constexpr int frameWidth = 640;
    static constexpr int frameHeight = 480;

    virtual ~CaptureSource() = default;

    virtual CameraDevice device() const = 0;

    // The frame-rate ranges of the active format, slowest first; empty when the
    // device does not tell.
    virtual std::vector<FrameRateRange> frameRateRanges() const = 0;

    // Asks for exactly `fps` frames per second. False, with the device's reason
    // in `error`, when it refuses; it then keeps its current rate.
    virtual bool setFrameRate(double fps, QString *error) = 0;

    // Starts and stops the flow of frames. A failure to start is logged and
    // leaves the source stopped.
    virtual void start() = 0;
    virtual void stop() = 0;
    virtual bool isRunning() const = 0;

    // False once the device has gone (unplugged, file removed).
    virtual bool isConnected() const = 0;

    // Asked as each frame arrives: false hands it back to the device unread, so a
    // frame nobody will look at costs no conversion and no copy. Unset, every
    // frame is wanted.
    std::function<bool()> wantsFrame;

    // Receives the wanted frames while running. Frames that arrive while the
    // previous one is still being handled are dropped, never queued.
    std::function<void(const VideoFrame &)> onFrame;

protected:
    bool frameWanted() const { return !wantsFrame || wantsFrame(); }
};

} // namespace veilora
