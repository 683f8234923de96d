#pragma once

#include <QObject>
#include <QPointer>

#include <chrono>
#include <functional>
#include <vector>

namespace veilora {

// Wall-clock time with microsecond resolution; its range reaches back to year 1,
// so "the distant past" is an ordinary value and differences never overflow.
using WallTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;

inline constexpr WallTime distantPast{std::chrono::microseconds(-62135596800LL * 1000000LL)};

inline double secondsBetween(WallTime from, WallTime to)
{
    return std::chrono::duration<double>(to - from).count();
}

// The time source of the presence logic: grace delays, log throttles and capture
// deadlines read it, so tests can drive them without waiting.
class Clock
{
public:
    virtual ~Clock() = default;

    virtual WallTime now() const = 0;

    // Runs `work` on the main thread after `delay`, unless `context` is gone by then.
    virtual void after(std::chrono::milliseconds delay, QObject *context, std::function<void()> work) = 0;

    // The real clock.
    static Clock &system();
};

} // namespace veilora
