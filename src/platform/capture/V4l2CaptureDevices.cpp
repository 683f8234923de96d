#include "V4l2CaptureDevices.h"

#include "V4l2CaptureSource.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace veilora {

namespace {

QString attribute(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.read(4096)).trimmed();
}

// Keeps IDs readable and free of separators whatever a device reports as serial.
QString idPart(const QString &text)
{
    QString part = text;
    part.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9._]")), QStringLiteral("_"));
    return part;
}

bool namesBuiltinCamera(const QString &name)
{
    static const QRegularExpression words(QStringLiteral("integrated|built-?in|internal"),
                                          QRegularExpression::CaseInsensitiveOption);
    return words.match(name).hasMatch();
}

enum class Capability
{
    capture,
    other,
    unknown
};

Capability probe(const QString &node)
{
    const int fd = ::open(QFile::encodeName(node).constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return Capability::unknown;
    v4l2_capability caps{};
    const int result = ::ioctl(fd, VIDIOC_QUERYCAP, &caps);
    ::close(fd);
    if (result < 0)
        return Capability::unknown;
    const quint32 flags = (caps.capabilities & V4L2_CAP_DEVICE_CAPS) ? caps.device_caps : caps.capabilities;
    return (flags & V4L2_CAP_VIDEO_CAPTURE) && (flags & V4L2_CAP_STREAMING) ? Capability::capture
                                                                            : Capability::other;
}

int nodeNumber(const QString &name)
{
    return name.mid(5).toInt(); // "video12" → 12
}

struct Found
{
    CameraDevice device;
    QString usbPort; // the USB device folder's name ("1-2.3"), to tell twins apart
};

} // namespace

V4l2CaptureDevices::V4l2CaptureDevices()
    : V4l2CaptureDevices(Roots{QStringLiteral("/sys"), QStringLiteral("/dev")})
{}

V4l2CaptureDevices::V4l2CaptureDevices(Roots roots)
    : m_roots(std::move(roots))
    , m_devices(scan(m_roots))
{
    // Queued, so the watcher is made on the thread the object ends up on.
    QMetaObject::invokeMethod(this, &V4l2CaptureDevices::watch, Qt::QueuedConnection);
}

V4l2CaptureDevices::~V4l2CaptureDevices() = default;

void V4l2CaptureDevices::watch()
{
    m_settle = std::make_unique<QTimer>();
    m_settle->setSingleShot(true);
    m_settle->setInterval(settleMilliseconds);
    connect(m_settle.get(), &QTimer::timeout, this, &V4l2CaptureDevices::rescan);
    m_watcher = std::make_unique<QFileSystemWatcher>(QStringList{m_roots.dev});
    connect(m_watcher.get(), &QFileSystemWatcher::directoryChanged, m_settle.get(),
            qOverload<>(&QTimer::start));
    rescan(); // whatever changed before the watch began
}

std::vector<CameraDevice> V4l2CaptureDevices::devices() const
{
    QMutexLocker lock(&m_mutex);
    return m_devices;
}

std::unique_ptr<CaptureSource> V4l2CaptureDevices::open(const CameraDevice &device)
{
    return V4l2CaptureSource::open(device);
}

void V4l2CaptureDevices::rescan()
{
    std::vector<CameraDevice> now = scan(m_roots);
    std::vector<CameraDevice> before;
    {
        QMutexLocker lock(&m_mutex);
        before = std::exchange(m_devices, now);
    }
    const auto contains = [](const std::vector<CameraDevice> &list, const QString &id) {
        return std::any_of(list.begin(), list.end(), [&](const CameraDevice &d) { return d.uniqueID == id; });
    };
    for (const CameraDevice &gone : before) {
        if (!contains(now, gone.uniqueID))
            Q_EMIT deviceDisconnected(gone.uniqueID);
    }
    for (const CameraDevice &added : now) {
        if (!contains(before, added.uniqueID))
            Q_EMIT deviceConnected(added.uniqueID);
    }
}

std::vector<CameraDevice> V4l2CaptureDevices::scan(const Roots &roots)
{
    QDir classDir(roots.sysfs + QStringLiteral("/class/video4linux"));
    QStringList names =
        classDir.entryList({QStringLiteral("video*")}, QDir::Dirs | QDir::System | QDir::NoDotAndDotDot);
    std::sort(names.begin(), names.end(),
              [](const QString &a, const QString &b) { return nodeNumber(a) < nodeNumber(b); });
    const QString devicesRoot = QFileInfo(roots.sysfs + QStringLiteral("/devices")).canonicalFilePath();

    std::vector<Found> found;
    for (const QString &name : names) {
        const QString entry = classDir.filePath(name);
        const QString node = roots.dev + QLatin1Char('/') + name;
        const QString real = QFileInfo(entry).canonicalFilePath();
        if (real.isEmpty() || !QFileInfo::exists(node))
            continue; // the node is not there (yet): udev has not caught up
        const QString index = attribute(entry + QStringLiteral("/index"));
        const Capability capability = probe(node);
        if (capability == Capability::other ||
            (capability == Capability::unknown && !index.isEmpty() && index != QLatin1String("0")))
            continue;

        Found item;
        CameraDevice &device = item.device;
        device.location = node;
        device.localizedName = attribute(entry + QStringLiteral("/name"));
        if (device.localizedName.isEmpty())
            device.localizedName = name;
        const QString indexSuffix =
            index.isEmpty() || index == QLatin1String("0") ? QString() : QStringLiteral("-index") + index;

        // …/<device>/video4linux/videoN: the device is two folders up.
        QDir deviceDir(real);
        deviceDir.cdUp();
        deviceDir.cdUp();
        const QString devicePath = deviceDir.absolutePath();
        if (devicePath.startsWith(devicesRoot + QStringLiteral("/virtual")) || devicePath == devicesRoot) {
            device.uniqueID = QStringLiteral("virtual-") + name;
            device.kind = CameraDevice::Kind::external;
            found.push_back(item);
            continue;
        }

        // The USB device is the nearest folder upwards with a vendor ID (the
        // camera's interface folder sits below it).
        QString usbPath;
        for (QString up = devicePath; up.startsWith(devicesRoot + QLatin1Char('/'));
             up = QFileInfo(up).path()) {
            if (QFileInfo::exists(up + QStringLiteral("/idVendor"))) {
                usbPath = up;
                break;
            }
        }
        if (!usbPath.isEmpty()) {
            const QString serial = attribute(usbPath + QStringLiteral("/serial"));
            const QString interface = attribute(devicePath + QStringLiteral("/bInterfaceNumber"));
            device.uniqueID = QStringLiteral("usb-%1:%2")
                                  .arg(attribute(usbPath + QStringLiteral("/idVendor")),
                                       attribute(usbPath + QStringLiteral("/idProduct")));
            if (!serial.isEmpty())
                device.uniqueID += QLatin1Char('-') + idPart(serial);
            if (!interface.isEmpty())
                device.uniqueID += QStringLiteral("-if") + interface;
            device.uniqueID += indexSuffix;
            const QString removable = attribute(usbPath + QStringLiteral("/removable"));
            const bool builtin =
                removable == QLatin1String("fixed") ||
                (removable != QLatin1String("removable") && namesBuiltinCamera(device.localizedName));
            device.kind = builtin ? CameraDevice::Kind::builtin : CameraDevice::Kind::external;
            item.usbPort = QFileInfo(usbPath).fileName();
        } else {
            const QString bus =
                QFileInfo(QFileInfo(devicePath + QStringLiteral("/subsystem")).canonicalFilePath())
                    .fileName();
            device.uniqueID = QStringLiteral("%1-%2-index%3")
                                  .arg(bus.isEmpty() ? QStringLiteral("sys") : bus, deviceDir.dirName(),
                                       index.isEmpty() ? QStringLiteral("0") : index);
            device.kind = CameraDevice::Kind::builtin;
        }
        found.push_back(item);
    }

    QHash<QString, int> uses;
    for (const Found &item : found)
        ++uses[item.device.uniqueID];
    std::vector<CameraDevice> result;
    result.reserve(found.size());
    for (Found &item : found) {
        if (uses.value(item.device.uniqueID) > 1 && !item.usbPort.isEmpty())
            item.device.uniqueID += QLatin1Char('@') + item.usbPort;
        result.push_back(item.device);
    }
    return result;
}

} // namespace veilora
