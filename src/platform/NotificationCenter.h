#pragma once

#include <QObject>
#include <QString>

#include <functional>

namespace veilora {

// Named notifications without object or payload.
//
// `observe` delivers on the thread of `context` (the main thread for the
// application's objects) and ends when `context` is destroyed, so an observer
// never outlives its owner.
class NotificationCenter : public QObject
{
    Q_OBJECT
public:
    QMetaObject::Connection observe(const QString &name, QObject *context, std::function<void()> handler);

Q_SIGNALS:
    void delivered(const QString &name);
};

// The in-process center: `post` reaches this process's observers only,
// synchronously when they live on the posting thread.
class LocalNotificationCenter : public NotificationCenter
{
    Q_OBJECT
public:
    static LocalNotificationCenter &defaultCenter();
    void post(const QString &name);
};

} // namespace veilora
