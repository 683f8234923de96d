#pragma once

#include "NotificationCenter.h"

#include <QDBusConnection>

namespace veilora {

// Notifications shared by every running copy of the application of the same user
// (and by outside tools): each name travels as a broadcast signal on the session
// bus, so the posting process receives its own posts too.
//
// The interface is small so that tests can put a process-local stand-in in its place.
class DistributedNotificationCenter : public NotificationCenter
{
    Q_OBJECT
public:
    // The session bus center, created on first use on the main thread.
    static DistributedNotificationCenter &defaultCenter();

    virtual void post(const QString &name) = 0;
};

// The D-Bus backend. Without a session bus it logs one line and then both posting
// and observing do nothing.
class DBusNotificationCenter : public DistributedNotificationCenter
{
    Q_OBJECT
public:
    static constexpr const char *objectPath = "/com/norvane/Veilora/Notifications";
    static constexpr const char *interfaceName = "com.norvane.Veilora.Notifications";
    static constexpr const char *signalName = "Posted";

    explicit DBusNotificationCenter(QDBusConnection connection);

    bool isConnected() const { return m_connected; }
    void post(const QString &name) override;

private Q_SLOTS:
    void onPosted(const QString &name);

private:
    QDBusConnection m_connection;
    bool m_connected = false;
};

} // namespace veilora
