#pragma once

#include "platform/Clock.h"

#include <QPointer>

#include <vector>

namespace veilora {

// A clock that moves only when told to; scheduled work runs when `advance`
// passes its due time, in due-time order.
class FakeClock : public Clock
{
public:
    explicit FakeClock(WallTime start = WallTime(std::chrono::hours(24 * 365 * 56)));

    WallTime now() const override { return m_now; }
    void after(std::chrono::milliseconds delay, QObject *context, std::function<void()> work) override;

    void advance(std::chrono::microseconds by);
    void advanceSeconds(double seconds);
    size_t pendingCount() const { return m_pending.size(); }

private:
    struct Pending
    {
        WallTime due;
        quint64 order;
        QPointer<QObject> context;
        std::function<void()> work;
    };
    WallTime m_now;
    quint64 m_nextOrder = 0;
    std::vector<Pending> m_pending;
};

} // namespace veilora
