#pragma once

#include <QString>

#include <optional>

namespace veilora {

// A hook for the crash tests only: they start the real application with
// VEILORA_CRASH_FOR_TESTING set and look for this function's name in the call
// stack that arrives at the server. Nobody else has a reason to set it.
enum class CrashKind
{
    segv,      // a write through a null pointer
    abort,     // abort()
    exception, // an exception that nobody catches
};

inline constexpr const char *crashForTestingVariable = "VEILORA_CRASH_FOR_TESTING";

// "segv", "abort" or "exception"; none for anything else.
std::optional<CrashKind> crashKindFromName(const QString &name);

// Never returns. Kept out of line so that it shows as a frame of its own.
[[noreturn]] void crashForTesting(CrashKind kind);

} // namespace veilora
