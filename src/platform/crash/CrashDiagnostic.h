#pragma once

#include "platform/crash/CrashRecord.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace veilora {

// One crash as the crash reporter receives it at the next start: the Linux
// stand-in for a system diagnostic report.
//
// "exceptionType" and "exceptionCode" exist only for faults raised by an
// instruction (SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP from the kernel): the
// code is si_code (SEGV_MAPERR, SEGV_ACCERR, FPE_INTDIV...), the type the CPU's
// trap number where the machine context has one (x86-64: 14 page fault, 13
// general protection, 0 divide error, 6 invalid opcode). A signal sent with
// kill() or raised by abort() has neither; what it means is all in "signal".
struct CrashDiagnostic
{
    QString osVersion;
    QString platformArchitecture;
    // {"frames":[{"module":"veilora","offset":"0x1a2b","function":"...","functionOffset":"0x1b"},...]},
    // innermost first. Modules by file name only: full paths would carry the
    // user's home folder. Offsets are module-relative addresses, as addr2line takes them.
    QByteArray callStackJSON;
    std::optional<int> signal;
    std::optional<qint64> exceptionType;
    std::optional<qint64> exceptionCode;
    std::optional<QString> terminationReason;

    // Names the frames from the modules' symbol tables as they are on disk now.
    static CrashDiagnostic fromRecord(const CrashRecord &record);
};

struct DiagnosticPayload
{
    QList<CrashDiagnostic> crashDiagnostics;
};

namespace PendingCrash {

// The record left by the last crash, read and deleted at once, so that it is
// delivered once and a record that crashes its reader cannot do so twice. An
// unreadable record is deleted with one log line.
std::optional<CrashRecord> take(const QString &recordPath);

} // namespace PendingCrash

} // namespace veilora
