#pragma once

#include "platform/SerialQueue.h"

#include <functional>
#include <memory>

namespace veilora {

class DisplayServices;
class WorkItem;

// Turns the bursts of display events of one reconfiguration (a monitor plugged
// in, a lid closed) into a single `onChange` call, 0.4 s after the burst's last
// event. `onChange` runs on the watcher's own queue.
class DisplayReconfigWatcher : public std::enable_shared_from_this<DisplayReconfigWatcher>
{
public:
    static constexpr std::chrono::milliseconds debounceDelay{400};

    static std::shared_ptr<DisplayReconfigWatcher> create(std::function<void()> onChange);

    // Starts listening to `displays`' reconfiguration events; once only.
    void start(DisplayServices &displays);

    // Feeds one display event into the current burst; callable from any thread.
    void schedule();

private:
    explicit DisplayReconfigWatcher(std::function<void()> onChange);

    const std::function<void()> m_onChange;
    SerialQueue m_debounce{QStringLiteral("com.norvane.veilora.display.reconfig")};
    std::shared_ptr<WorkItem> m_pending; // touched on m_debounce only
    bool m_registered = false;
};

} // namespace veilora
