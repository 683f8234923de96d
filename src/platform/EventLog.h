#pragma once

#include <QString>

namespace veilora {

// Where every layer writes its debug log lines. The platform layer and the
// subsystems above it must not know how the log is kept (files, rotation, the
// journal); the diagnostics subsystem installs the real sink at start-up. Until
// a sink is installed, lines go to standard error, so nothing is lost silently.
//
// For events, not per-frame tracing. Callable from any thread; never fails
// towards its caller. Never pass secrets to it.
namespace EventLog {

using Sink = void (*)(const QString &message);

void write(const QString &message);

// Process-wide; meant to be called once, before other threads write.
void setSink(Sink sink);

} // namespace EventLog

} // namespace veilora
