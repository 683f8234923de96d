#pragma once

#include <QString>

#include <chrono>
#include <functional>

namespace veilora::test {

// Processes events until `condition` holds or `timeout` passes; returns whether it held.
bool waitUntil(const std::function<bool()> &condition,
               std::chrono::milliseconds timeout = std::chrono::seconds(10));

// Processes events for `duration` (for asserting that something does not happen).
void processEventsFor(std::chrono::milliseconds duration);

// The private home folder this test process runs in (HOME and the XDG folders lie below it).
QString testHome();

// True inside scripts/test.sh's headless session, where a test must not skip
// for want of a display, a session bus or the session's services.
bool inTestSession();

// A folder with models and media fetched by the set-up (.deps), or empty when absent.
QString assetsDir();

} // namespace veilora::test
