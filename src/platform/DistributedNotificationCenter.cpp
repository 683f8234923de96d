#include "DistributedNotificationCenter.h"

#include "platform/EventLog.h"

#include <QDBusMessage>

namespace veilora {

DistributedNotificationCenter &DistributedNotificationCenter::defaultCenter()
{
    static DBusNotificationCenter center(QDBusConnection::sessionBus());
    return center;
}

DBusNotificationCenter::DBusNotificationCenter(QDBusConnection connection)
    : m_connection(std::move(connection))
{
    m_connected =
        m_connection.isConnected() &&
        m_connection.connect(QString(), QString::fromLatin1(objectPath), QString::fromLatin1(interfaceName),
                             QString::fromLatin1(signalName), this, SLOT(onPosted(QString)));
    if (!m_connected)
        EventLog::write(QStringLiteral("notifications: no session bus, system-wide notifications are off"));
}

void DBusNotificationCenter::post(const QString &name)
{
    if (!m_connected)
        return;
    QDBusMessage message = QDBusMessage::createSignal(
        QString::fromLatin1(objectPath), QString::fromLatin1(interfaceName), QString::fromLatin1(signalName));
    message << name;
    m_connection.send(message);
}

void DBusNotificationCenter::onPosted(const QString &name)
{
    Q_EMIT delivered(name);
}

} // namespace veilora
