#pragma once

#include "platform/DistributedNotificationCenter.h"

#include <QStringList>

namespace veilora {

// Delivers posts to this process's observers only, for tests without a bus.
class LoopbackNotificationCenter : public DistributedNotificationCenter
{
    Q_OBJECT
public:
    void post(const QString &name) override
    {
        posted.append(name);
        Q_EMIT delivered(name);
    }

    QStringList posted; // every name posted, in order
};

} // namespace veilora
