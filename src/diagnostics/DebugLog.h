#pragma once

#include <QString>

namespace veilora {

// The application's own always-on event log: "tester.log" plus one previous
// generation "tester.log.1", in $XDG_DATA_HOME/<application identifier>/ (the
// per-user application data area; "Veilora" when the build has no identifier).
//
// For events, not per-frame tracing: every call opens the file. Callable from any
// thread; never fails towards its caller. Never pass secrets to it.
class DebugLog
{
public:
    static constexpr qint64 rotationBytes = 524288;
    static constexpr qsizetype tailCharacters = 262144;

    // Appends "<ISO 8601 UTC time> <message>\n".
    static void log(const QString &message);

    // Makes this log the destination of every layer's EventLog lines.
    static void install();

    // The last `tailCharacters` characters of both generations, older first.
    static QString tail();

    // The folder holding the files (created if missing).
    static QString directory();

    DebugLog() = delete;
};

} // namespace veilora
