#include "DesktopAppearance.h"

#include "platform/EventLog.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace veilora {

namespace {

const QString appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString colorSchemeKey = QStringLiteral("color-scheme");

// Read() answers a variant inside a variant (older portals one level less).
QVariant unwrap(QVariant value)
{
    while (value.canConvert<QDBusVariant>() && value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

} // namespace

PortalDesktopAppearance::PortalDesktopAppearance(QDBusConnection connection, QObject *parent)
    : DesktopAppearance()
    , m_connection(std::move(connection))
{
    setParent(parent);
    if (!m_connection.isConnected())
        return;
    // The bus finds the slot by its parameter types' names, which resolve only once
    // registered; early in a process nothing else may have registered this one.
    qRegisterMetaType<QDBusVariant>();
    m_connection.connect(QLatin1String(service), QLatin1String(path), QLatin1String(interface),
                         QStringLiteral("SettingChanged"), this,
                         SLOT(onSettingChanged(QString, QString, QDBusVariant)));

    QDBusMessage read = QDBusMessage::createMethodCall(QLatin1String(service), QLatin1String(path),
                                                       QLatin1String(interface), QStringLiteral("Read"));
    read << appearanceGroup << colorSchemeKey;
    auto *watcher = new QDBusPendingCallWatcher(m_connection.asyncCall(read), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *call) {
        call->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *call;
        if (reply.isError()) {
            // Common and harmless: a desktop without the portal, or a portal without the key.
            EventLog::write(QStringLiteral("appearance: no colour scheme from the desktop portal (%1)")
                                .arg(reply.error().name()));
            return;
        }
        setScheme(fromPortalValue(unwrap(reply.value().variant())));
    });
}

DesktopAppearance::Scheme PortalDesktopAppearance::fromPortalValue(const QVariant &value)
{
    bool ok = false;
    const uint number = unwrap(value).toUInt(&ok);
    if (!ok)
        return Scheme::noPreference;
    return number == 1 ? Scheme::dark : number == 2 ? Scheme::light : Scheme::noPreference;
}

void PortalDesktopAppearance::onSettingChanged(const QString &group, const QString &key,
                                               const QDBusVariant &value)
{
    if (group == appearanceGroup && key == colorSchemeKey)
        setScheme(fromPortalValue(value.variant()));
}

void PortalDesktopAppearance::setScheme(Scheme scheme)
{
    if (scheme == m_scheme)
        return;
    m_scheme = scheme;
    Q_EMIT schemeChanged(scheme);
}

} // namespace veilora
