#include "CaptureDevices.h"

#include "FileCaptureDevices.h"
#include "V4l2CaptureDevices.h"

#include <QCoreApplication>
#include <QMutex>
#include <QThread>

namespace veilora {

namespace {

QMutex &systemLock()
{
    static QMutex lock;
    return lock;
}

// Kept for the life of the process: the watchers inside must not be torn down
// after the application object during exit.
std::shared_ptr<CaptureDevices> *&systemDevices()
{
    static std::shared_ptr<CaptureDevices> *devices = nullptr;
    return devices;
}

void install(CaptureDevices *devices)
{
    // Hotplug watching needs a thread that lives as long as the process.
    if (auto *app = QCoreApplication::instance(); app && devices->thread() != app->thread())
        devices->moveToThread(app->thread());
    systemDevices() = new std::shared_ptr<CaptureDevices>(devices);
}

} // namespace

std::shared_ptr<CaptureDevices> CaptureDevices::system()
{
    QMutexLocker lock(&systemLock());
    if (!systemDevices())
        install(new V4l2CaptureDevices);
    return *systemDevices();
}

void CaptureDevices::useFileSource(const QString &path)
{
    QMutexLocker lock(&systemLock());
    install(new FileCaptureDevices(path));
}

} // namespace veilora
