#include "SingleInstance.h"

#include "platform/EventLog.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>

namespace veilora {

namespace {

// The exported object. It answers at once and forwards the request on a later
// turn of the event loop, so a slow handler never keeps the sender waiting.
class InstanceEndpoint : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.norvane.Veilora.Application")
public:
    explicit InstanceEndpoint(SingleInstance *owner)
        : QObject(owner)
        , m_owner(owner)
    {}

public Q_SLOTS:
    Q_SCRIPTABLE void OpenURL(const QString &url)
    {
        QMetaObject::invokeMethod(
            m_owner, [owner = m_owner, url] { Q_EMIT owner->openURLRequested(url); }, Qt::QueuedConnection);
    }
    Q_SCRIPTABLE void Activate()
    {
        QMetaObject::invokeMethod(
            m_owner, [owner = m_owner] { Q_EMIT owner->activateRequested(); }, Qt::QueuedConnection);
    }

private:
    SingleInstance *m_owner;
};

} // namespace

DBusSingleInstance::DBusSingleInstance(QDBusConnection bus, QString serviceName)
    : m_bus(std::move(bus))
    , m_serviceName(std::move(serviceName))
{}

DBusSingleInstance::~DBusSingleInstance()
{
    if (m_owner) {
        m_bus.unregisterService(m_serviceName);
        m_bus.unregisterObject(QString::fromLatin1(objectPath));
    }
}

bool DBusSingleInstance::claim()
{
    if (m_owner)
        return true;
    if (!m_bus.isConnected()) {
        EventLog::write(QStringLiteral("instance: no session bus, running without a single-instance check"));
        return true;
    }
    // The object goes up before the name, so whoever sees the name finds the object.
    auto *endpoint = new InstanceEndpoint(this);
    if (!m_bus.registerObject(QString::fromLatin1(objectPath), endpoint,
                              QDBusConnection::ExportScriptableSlots)) {
        delete endpoint;
        EventLog::write(QStringLiteral("instance: cannot export ") + QLatin1String(objectPath) +
                        QStringLiteral(": ") + m_bus.lastError().message());
        return false;
    }
    const auto reply =
        m_bus.interface()->registerService(m_serviceName, QDBusConnectionInterface::DontQueueService,
                                           QDBusConnectionInterface::DontAllowReplacement);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered) {
        m_owner = true;
        return true;
    }
    m_bus.unregisterObject(QString::fromLatin1(objectPath));
    delete endpoint;
    return false;
}

bool DBusSingleInstance::sendOpenURL(const QString &url, QString *error)
{
    return call(QStringLiteral("OpenURL"), {url}, error);
}

bool DBusSingleInstance::sendActivate(QString *error)
{
    return call(QStringLiteral("Activate"), {}, error);
}

bool DBusSingleInstance::call(const QString &method, const QVariantList &args, QString *error)
{
    QDBusMessage message = QDBusMessage::createMethodCall(m_serviceName, QString::fromLatin1(objectPath),
                                                          QString::fromLatin1(interfaceName), method);
    message.setArguments(args);
    const QDBusMessage reply = m_bus.call(message, QDBus::Block, callTimeoutMs);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return true;
    if (error)
        *error = reply.errorMessage().isEmpty() ? QStringLiteral("no session bus") : reply.errorMessage();
    return false;
}

} // namespace veilora

#include "SingleInstance.moc"
