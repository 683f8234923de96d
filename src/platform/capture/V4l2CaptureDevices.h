#pragma once

#include "CaptureDevices.h"

#include <QFileSystemWatcher>
#include <QMutex>
#include <QTimer>

namespace veilora {

// The machine's Video4Linux capture devices, read from sysfs.
//
// Which nodes count: those whose driver reports video capture with streaming;
// when a node cannot be asked (no permission yet), those with sysfs index 0, the
// main node of a device (UVC metadata nodes have index 1).
//
// Unique IDs are stable across replugging, ports and restarts:
// - USB: "usb-<idVendor>:<idProduct>[-<serial>]-if<interface>", plus the node
//   index when not 0; two identical cameras without serial numbers are told
//   apart by their port ("…@1-2.3").
// - other buses (PCI and platform cameras, such as a laptop's MIPI sensor):
//   "<bus>-<device>-index<N>".
// - virtual devices (loopback): "virtual-<node>".
//
// Built-in or external:
// - USB cameras are built-in when the USB port they sit on is fixed inside the
//   machine (sysfs "removable" = "fixed", which the firmware tells), external when
//   it is "removable". When the port's kind is unknown the name decides: one
//   containing "Integrated", "Built-in" or "Internal" is built-in.
// - Cameras on any other physical bus are built-in (they cannot be unplugged).
// - Virtual devices are external.
//
// Connections and disconnections come from watching the device folder, from the
// first pass of the event loop of the object's thread on; a burst of changes (the
// node, then udev's links and permissions) is read once, 0.5 s after it ends.
class V4l2CaptureDevices : public CaptureDevices
{
    Q_OBJECT
public:
    struct Roots
    {
        QString sysfs; // "/sys"
        QString dev;   // "/dev"
    };
    static constexpr int settleMilliseconds = 500;

    V4l2CaptureDevices();
    explicit V4l2CaptureDevices(Roots roots); // a stand-in tree, for tests
    ~V4l2CaptureDevices() override;

    std::vector<CameraDevice> devices() const override;
    std::unique_ptr<CaptureSource> open(const CameraDevice &device) override;

    static std::vector<CameraDevice> scan(const Roots &roots);

private:
    void watch();
    void rescan();

    const Roots m_roots;
    std::unique_ptr<QFileSystemWatcher> m_watcher; // made on the object's own thread
    std::unique_ptr<QTimer> m_settle;
    mutable QMutex m_mutex;
    std::vector<CameraDevice> m_devices;
};

} // namespace veilora
