#pragma once

#include <QString>

namespace veilora {

// Leaves a crash record behind when the process dies of a fatal signal (a
// fault, abort(), or one sent from outside) or of std::terminate (an uncaught
// exception). The record is read at the next start (PendingCrash).
//
// The handler runs in a process in an unknown state: it only fills preallocated
// memory and makes async-signal-safe calls (write, fsync, linkat, rename, open
// and read of /proc/self/maps). The one exception is backtrace(), warmed up at
// install so that it neither loads libgcc_s nor allocates in the handler; with
// glibc ≥ 2.35 it finds unwind tables without the loader lock. A watchdog
// alarm ends a handler that hangs anyway. Afterwards the default action runs,
// so core dumps and the exit status are as without the handler.
//
// Stack overflows are caught on the thread that installed (the alternate signal
// stack is per thread); other threads' overflows die without a record.
namespace CrashCapture {

// $XDG_STATE_HOME/veilora/crash.record (~/.local/state/veilora/crash.record).
QString defaultRecordPath();

// Installs the handlers once per process; the record goes to `recordPath`.
// False when the record file cannot be prepared (then nothing is installed).
bool install(const QString &recordPath = defaultRecordPath());

} // namespace CrashCapture

} // namespace veilora
