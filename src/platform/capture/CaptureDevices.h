#pragma once

#include "CameraDevice.h"
#include "CaptureSource.h"

#include <QObject>

#include <memory>
#include <vector>

namespace veilora {

// The cameras of the machine: which exist, when they come and go, and opening one.
//
// `devices()` may be called from any thread. The connection signals come from
// the thread the object lives on.
class CaptureDevices : public QObject
{
    Q_OBJECT
public:
    // The usable cameras, in the order the system lists them.
    virtual std::vector<CameraDevice> devices() const = 0;

    // Opens `device` as a source living on the calling thread; nullptr (with a log
    // line giving the reason) when it cannot be opened.
    virtual std::unique_ptr<CaptureSource> open(const CameraDevice &device) = 0;

    // The process's cameras: the machine's video devices, unless
    // `useFileSource()` chose a file.
    static std::shared_ptr<CaptureDevices> system();

    // Makes `system()` a single camera that plays the video file, image or folder
    // of images at `path` (the command line's --camera-file). Call it at start-up,
    // before anything asks for `system()`.
    static void useFileSource(const QString &path);

Q_SIGNALS:
    void deviceConnected(const QString &uniqueID);
    void deviceDisconnected(const QString &uniqueID);
};

} // namespace veilora
