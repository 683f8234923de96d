#include "LinuxCameraAuthorization.h"

#include "UserDefaults.h"
#include "platform/EventLog.h"

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

// Waits for one portal Response; 0 means the user allowed the camera. Answers
// once: a second path to listen at (see below) cannot answer twice.
class PortalRequest : public QObject
{
    Q_OBJECT
public:
    explicit PortalRequest(std::function<void(bool)> completion)
        : m_completion(std::move(completion))
    {}

    void listen(QDBusConnection bus, const QString &path)
    {
        bus.connect(QString(), path, QStringLiteral("org.freedesktop.portal.Request"),
                    QStringLiteral("Response"), this, SLOT(onResponse(uint, QVariantMap)));
    }

    void fail() { onResponse(2, {}); }

public Q_SLOTS:
    void onResponse(uint response, const QVariantMap &)
    {
        if (!m_completion)
            return;
        auto completion = std::move(m_completion);
        m_completion = nullptr;
        completion(response == 0);
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
            EventLog::write(QStringLiteral("camera: no way to ask for consent, access refused"));
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
        EventLog::write(QStringLiteral(
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
    // The portal may send its Response before the reply naming the request
    // object arrives, so listen first where it will be: a path made of this
    // connection's name and a token of ours.
    static int serial = 0;
    const QString token = QStringLiteral("veilora%1").arg(++serial);
    const QString expected = QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2")
                                 .arg(bus.baseService().mid(1).replace(u'.', u'_'), token);
    // What the portal decided is remembered for `status()`; a refusal is not, so
    // that a later request asks the portal again, which knows the user's current choice.
    auto *request = new PortalRequest([this, completion = std::move(completion)](bool granted) {
        if (granted)
            m_defaults.setBool(QLatin1String(consentKey), true);
        else
            m_defaults.remove(QLatin1String(consentKey));
        completion(granted);
    });
    request->listen(bus, expected);

    auto message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Camera"), QStringLiteral("AccessCamera"));
    message << QVariantMap{{QStringLiteral("handle_token"), token}};
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(message), request);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, request,
                     [bus, request, expected](QDBusPendingCallWatcher *call) {
                         call->deleteLater();
                         QDBusPendingReply<QDBusObjectPath> reply = *call;
                         if (reply.isError()) {
                             EventLog::write(QStringLiteral("camera: the portal refused the request: ") +
                                             reply.error().message());
                             request->fail();
                         } else if (reply.value().path() != expected) {
                             request->listen(bus, reply.value().path()); // a portal that ignores the token
                         }
                     });
}

} // namespace veilora

#include "LinuxCameraAuthorization.moc"
