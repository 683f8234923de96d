#include "LinuxCameraAuthorization.h"

#include "UserDefaults.h"
#include "diagnostics/DebugLog.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDir>
#include <QFile>

#include <memory>
#include <unistd.h>

namespace veilora {

namespace {

// Waits for one portal Response; 0 means the user allowed the camera.
class PortalRequest : public QObject
{
    Q_OBJECT
public:
    explicit PortalRequest(std::function<void(bool)> completion)
        : m_completion(std::move(completion))
    {}

public Q_SLOTS:
    void onResponse(uint response, const QVariantMap &)
    {
        m_completion(response == 0);
        deleteLater();
    }

private:
    std::function<void(bool)> m_completion;
};

} // namespace

LinuxCameraAuthorization::LinuxCameraAuthorization(UserDefaults &defaults, AskUser askUser,
                                                   QString deviceDirectory)
    : m_defaults(defaults)
    , m_askUser(std::move(askUser))
    , m_deviceDirectory(std::move(deviceDirectory))
{}

LinuxCameraAuthorization &LinuxCameraAuthorization::shared()
{
    static LinuxCameraAuthorization authorization(
        UserDefaults::standard(), [](std::function<void(bool)> answer) {
            DebugLog::log(QStringLiteral("camera: no way to ask for consent, access refused"));
            answer(false);
        });
    return authorization;
}

bool LinuxCameraAuthorization::isSandboxed()
{
    return QFile::exists(QStringLiteral("/.flatpak-info"));
}

QStringList LinuxCameraAuthorization::cameraNodes() const
{
    QStringList nodes;
    const QDir dir(m_deviceDirectory);
    for (const QString &name : dir.entryList({QStringLiteral("video*")}, QDir::System | QDir::Files))
        nodes << dir.filePath(name);
    return nodes;
}

bool LinuxCameraAuthorization::devicesInaccessible() const
{
    const QStringList nodes = cameraNodes();
    if (nodes.isEmpty())
        return false;
    for (const QString &node : nodes) {
        if (::access(QFile::encodeName(node).constData(), R_OK | W_OK) == 0)
            return false;
    }
    return true;
}

CameraAuthorization::Status LinuxCameraAuthorization::status() const
{
    if (!isSandboxed() && devicesInaccessible())
        return Status::denied;
    const auto consent = m_defaults.boolValue(QLatin1String(consentKey));
    if (!consent)
        return Status::notDetermined;
    return *consent ? Status::authorized : Status::denied;
}

void LinuxCameraAuthorization::requestAccess(std::function<void(bool)> completion)
{
    if (isSandboxed()) {
        requestThroughPortal(std::move(completion));
        return;
    }
    if (devicesInaccessible()) {
        DebugLog::log(QStringLiteral(
            "camera: the video devices cannot be opened; is the user in the \"video\" group?"));
        completion(false);
        return;
    }
    m_askUser([this, completion = std::move(completion)](bool granted) {
        m_defaults.setBool(QLatin1String(consentKey), granted);
        completion(granted);
    });
}

void LinuxCameraAuthorization::requestThroughPortal(std::function<void(bool)> completion)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    auto message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Camera"), QStringLiteral("AccessCamera"));
    message << QVariantMap();
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(message));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [bus, completion = std::move(completion)](QDBusPendingCallWatcher *call) mutable {
                         call->deleteLater();
                         QDBusPendingReply<QDBusObjectPath> reply = *call;
                         if (reply.isError()) {
                             DebugLog::log(QStringLiteral("camera: the portal refused the request: ") +
                                           reply.error().message());
                             completion(false);
                             return;
                         }
                         // The user's answer arrives later, as the request object's Response.
                         auto *request = new PortalRequest(std::move(completion));
                         QDBusConnection(bus).connect(QString(), reply.value().path(),
                                                      QStringLiteral("org.freedesktop.portal.Request"),
                                                      QStringLiteral("Response"), request,
                                                      SLOT(onResponse(uint, QVariantMap)));
                     });
}

} // namespace veilora

#include "LinuxCameraAuthorization.moc"
