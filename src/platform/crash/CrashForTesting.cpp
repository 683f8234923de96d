#include "CrashForTesting.h"

#include <cstdlib>
#include <stdexcept>

namespace veilora {

std::optional<CrashKind> crashKindFromName(const QString &name)
{
    if (name == QLatin1String("segv"))
        return CrashKind::segv;
    if (name == QLatin1String("abort"))
        return CrashKind::abort;
    if (name == QLatin1String("exception"))
        return CrashKind::exception;
    return std::nullopt;
}

// The sanitizers of the test build would report the null store themselves and
// exit instead of faulting, and a real fault is what is under test.
[[gnu::noinline]] __attribute__((no_sanitize("undefined", "address"))) void crashForTesting(CrashKind kind)
{
    switch (kind) {
    case CrashKind::segv: {
        // Through a volatile pointer: a literal null store is undefined and the
        // compiler may turn it into a trap instruction instead of a fault.
        int *volatile target = nullptr;
        *target = 42;
        break;
    }
    case CrashKind::abort:
        std::abort();
    case CrashKind::exception:
        throw std::runtime_error("crash for testing: an exception nobody catches");
    }
    std::abort();
}

} // namespace veilora
