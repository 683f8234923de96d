#include "FakeClock.h"

#include <algorithm>

namespace veilora {

FakeClock::FakeClock(WallTime start)
    : m_now(start)
{}

void FakeClock::after(std::chrono::milliseconds delay, QObject *context, std::function<void()> work)
{
    m_pending.push_back({m_now + delay, m_nextOrder++, context, std::move(work)});
}

void FakeClock::advance(std::chrono::microseconds by)
{
    const WallTime target = m_now + by;
    for (;;) {
        // Work may schedule more work, so pick the earliest due item afresh each time.
        auto next =
            std::min_element(m_pending.begin(), m_pending.end(), [](const Pending &a, const Pending &b) {
                return a.due != b.due ? a.due < b.due : a.order < b.order;
            });
        if (next == m_pending.end() || next->due > target)
            break;
        Pending item = std::move(*next);
        m_pending.erase(next);
        m_now = std::max(m_now, item.due);
        if (item.context)
            item.work();
    }
    m_now = target;
}

void FakeClock::advanceSeconds(double seconds)
{
    advance(std::chrono::microseconds(static_cast<qint64>(seconds * 1e6 + (seconds >= 0 ? 0.5 : -0.5))));
}

} // namespace veilora
