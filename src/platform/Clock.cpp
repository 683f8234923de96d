#include "Clock.h"

#include <QTimer>

#include <algorithm>

namespace veilora {

namespace {

class SystemClock : public Clock
{
public:
    WallTime now() const override
    {
        return std::chrono::time_point_cast<std::chrono::microseconds>(std::chrono::system_clock::now());
    }

    void after(std::chrono::milliseconds delay, QObject *context, std::function<void()> work) override
    {
        QTimer::singleShot(delay, context, std::move(work));
    }
};

} // namespace

Clock &Clock::system()
{
    static SystemClock clock;
    return clock;
}

} // namespace veilora
