#include "platform/capture/V4l2CaptureDevices.h"

#include "diagnostics/DebugLog.h"
#include "platform/capture/V4l2CaptureSource.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace veilora;

namespace {

// A stand-in sysfs and /dev: device folders under sys/devices, class links under
// sys/class/video4linux, and plain files as device nodes.
class FakeSysfs
{
public:
    FakeSysfs()
    {
        QDir(root()).mkpath(QStringLiteral("sys/class/video4linux"));
        QDir(root()).mkpath(QStringLiteral("dev"));
        QDir(root()).mkpath(QStringLiteral("sys/bus/pci"));
    }

    V4l2CaptureDevices::Roots roots() const
    {
        return {root() + QStringLiteral("/sys"), root() + QStringLiteral("/dev")};
    }
    QString root() const { return m_dir.path(); }

    struct Usb
    {
        QString port;
        QString vendor;
        QString product;
        QString serial;    // empty: none
        QString removable; // empty: the attribute is missing
        QString interface = QStringLiteral("00");
    };

    static Usb usb(const QString &port, const QString &vendor, const QString &product,
                   const QString &serial = {}, const QString &removable = {})
    {
        Usb device;
        device.port = port;
        device.vendor = vendor;
        device.product = product;
        device.serial = serial;
        device.removable = removable;
        return device;
    }

    void addUsb(const QString &node, const QString &name, const Usb &usb,
                const QString &index = QStringLiteral("0"))
    {
        const QString device = QStringLiteral("sys/devices/pci0000:00/0000:00:14.0/usb1/") + usb.port;
        write(device + QStringLiteral("/idVendor"), usb.vendor);
        write(device + QStringLiteral("/idProduct"), usb.product);
        if (!usb.serial.isEmpty())
            write(device + QStringLiteral("/serial"), usb.serial);
        if (!usb.removable.isEmpty())
            write(device + QStringLiteral("/removable"), usb.removable);
        const QString interface =
            device + QLatin1Char('/') + usb.port + QStringLiteral(":1.") + usb.interface;
        write(interface + QStringLiteral("/bInterfaceNumber"), usb.interface);
        addNode(interface, node, name, index);
    }

    void addPci(const QString &node, const QString &name)
    {
        const QString device = QStringLiteral("sys/devices/pci0000:00/0000:00:05.0");
        QDir(root()).mkpath(device);
        QFile::link(root() + QStringLiteral("/sys/bus/pci"),
                    root() + QLatin1Char('/') + device + QStringLiteral("/subsystem"));
        addNode(device, node, name, QStringLiteral("0"));
    }

    void addVirtual(const QString &node, const QString &name)
    {
        addNode(QStringLiteral("sys/devices/virtual"), node, name, QStringLiteral("0"));
    }

    void addNode(const QString &device, const QString &node, const QString &name, const QString &index)
    {
        const QString folder = device + QStringLiteral("/video4linux/") + node;
        write(folder + QStringLiteral("/name"), name);
        write(folder + QStringLiteral("/index"), index);
        QFile::link(root() + QLatin1Char('/') + folder,
                    root() + QStringLiteral("/sys/class/video4linux/") + node);
        write(QStringLiteral("dev/") + node, QString());
    }

    void removeNode(const QString &node) { QFile::remove(root() + QStringLiteral("/dev/") + node); }

private:
    void write(const QString &relative, const QString &content)
    {
        const QString path = root() + QLatin1Char('/') + relative;
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content.toUtf8() + "\n");
    }

    QTemporaryDir m_dir;
};

TEST(V4l2CaptureDevicesTest, ListsCaptureNodesWithStableIDsAndTheirPlaceInTheMachine)
{
    FakeSysfs sys;
    using S = FakeSysfs;
    const QString lid = QStringLiteral("Integrated Camera: Integrated C");
    sys.addUsb(QStringLiteral("video0"), lid, S::usb("1-8", "04f2", "b6d9", {}, "fixed"));
    sys.addUsb(QStringLiteral("video1"), lid, S::usb("1-8", "04f2", "b6d9", {}, "fixed"),
               "1"); // its metadata
    sys.addUsb(QStringLiteral("video2"), QStringLiteral("HD Pro Webcam C920"),
               S::usb("3-1", "046d", "082d", "AB 12/x", "removable"));
    sys.addUsb(QStringLiteral("video4"), QStringLiteral("Integrated Webcam"), S::usb("1-5", "0c45", "6713"));
    sys.addPci(QStringLiteral("video5"), QStringLiteral("Intel MIPI Camera"));
    sys.addVirtual(QStringLiteral("video10"), QStringLiteral("Dummy video device"));
    sys.addUsb(QStringLiteral("video6"), QStringLiteral("USB Camera"), S::usb("2-1", "1e4e", "0825"));
    sys.addUsb(QStringLiteral("video8"), QStringLiteral("USB Camera"), S::usb("2-2", "1e4e", "0825"));

    const std::vector<CameraDevice> devices = V4l2CaptureDevices::scan(sys.roots());

    using Kind = CameraDevice::Kind;
    const std::vector<std::pair<QString, Kind>> expected{
        {QStringLiteral("usb-04f2:b6d9-if00"), Kind::builtin},
        {QStringLiteral("usb-046d:082d-AB_12_x-if00"), Kind::external},
        {QStringLiteral("usb-0c45:6713-if00"), Kind::builtin},
        {QStringLiteral("pci-0000:00:05.0-index0"), Kind::builtin},
        {QStringLiteral("usb-1e4e:0825-if00@2-1"), Kind::external},
        {QStringLiteral("usb-1e4e:0825-if00@2-2"), Kind::external},
        {QStringLiteral("virtual-video10"), Kind::external},
    };
    ASSERT_EQ(devices.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(devices[i].uniqueID, expected[i].first) << i;
        EXPECT_EQ(devices[i].kind, expected[i].second) << devices[i].uniqueID.toStdString();
    }
    EXPECT_EQ(devices[0].localizedName, QStringLiteral("Integrated Camera: Integrated C"));
    EXPECT_EQ(devices[0].location, sys.root() + QStringLiteral("/dev/video0"));

    // Without its device node (not created yet, or gone) a camera is not usable.
    sys.removeNode(QStringLiteral("video2"));
    EXPECT_EQ(V4l2CaptureDevices::scan(sys.roots()).size(), expected.size() - 1);
}

TEST(V4l2CaptureDevicesTest, AnnouncesCamerasComingAndGoing)
{
    FakeSysfs sys;
    sys.addPci(QStringLiteral("video0"), QStringLiteral("Built-in"));
    V4l2CaptureDevices devices(sys.roots());
    QSignalSpy connected(&devices, &CaptureDevices::deviceConnected);
    QSignalSpy disconnected(&devices, &CaptureDevices::deviceDisconnected);
    test::processEventsFor(std::chrono::milliseconds(100)); // the watch begins

    sys.addUsb(QStringLiteral("video2"), QStringLiteral("Webcam"), FakeSysfs::usb("1-2", "046d", "0825"));
    ASSERT_TRUE(test::waitUntil([&]() { return connected.count() == 1; }));
    EXPECT_EQ(connected.at(0).at(0).toString(), QStringLiteral("usb-046d:0825-if00"));
    EXPECT_EQ(devices.devices().size(), 2u);

    sys.removeNode(QStringLiteral("video2"));
    ASSERT_TRUE(test::waitUntil([&]() { return disconnected.count() == 1; }));
    EXPECT_EQ(disconnected.at(0).at(0).toString(), QStringLiteral("usb-046d:0825-if00"));
    EXPECT_EQ(connected.count(), 1);
    EXPECT_EQ(devices.devices().size(), 1u);
}

TEST(V4l2CaptureDevicesTest, OpeningWhatIsNoCameraFailsWithALogLine)
{
    FakeSysfs sys;
    sys.addPci(QStringLiteral("video0"), QStringLiteral("Not really"));
    const std::vector<CameraDevice> devices = V4l2CaptureDevices::scan(sys.roots());
    ASSERT_EQ(devices.size(), 1u);
    EXPECT_EQ(V4l2CaptureSource::open(devices[0]), nullptr); // a plain file
    EXPECT_TRUE(
        DebugLog::tail().contains(QStringLiteral("camera: Not really (%1): cannot use it: not a video device")
                                      .arg(devices[0].location)));

    CameraDevice gone = devices[0];
    gone.location = sys.root() + QStringLiteral("/dev/video9");
    EXPECT_EQ(V4l2CaptureSource::open(gone), nullptr);
    EXPECT_TRUE(
        DebugLog::tail().contains(QStringLiteral("camera: cannot open Not really (%1)").arg(gone.location)));
}

} // namespace
