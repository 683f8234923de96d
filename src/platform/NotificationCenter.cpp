#include "NotificationCenter.h"

namespace veilora {

QMetaObject::Connection NotificationCenter::observe(const QString &name, QObject *context,
                                                    std::function<void()> handler)
{
    return connect(this, &NotificationCenter::delivered, context,
                   [name, handler = std::move(handler)](const QString &delivered) {
                       if (delivered == name)
                           handler();
                   });
}

LocalNotificationCenter &LocalNotificationCenter::defaultCenter()
{
    static LocalNotificationCenter center;
    return center;
}

void LocalNotificationCenter::post(const QString &name)
{
    Q_EMIT delivered(name);
}

} // namespace veilora
