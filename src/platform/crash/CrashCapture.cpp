#include "CrashCapture.h"

#include "platform/FilePrivacy.h"
#include "platform/crash/CrashRecord.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <exception>
#include <execinfo.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <time.h>
#include <typeinfo>
#include <ucontext.h>
#include <unistd.h>

namespace veilora::CrashCapture {

namespace {

constexpr int caughtSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP};
// A hung handler must not leave a tray application frozen forever.
constexpr unsigned watchdogSeconds = 10;
constexpr std::size_t alternateStackBytes = 128 * 1024;

// Everything the handler touches, allocated before any crash.
struct State
{
    int fd = -1;
    bool anonymous = false; // O_TMPFILE: linked into place only when a crash happens
    char fdLink[64];
    char directory[PATH_MAX];
    char recordPath[PATH_MAX];
    char stagingPath[PATH_MAX];
    CrashFacts facts;
    void *rawFrames[CrashFacts::maxFrames + 32];
    char mapsChunk[4096];
    char mapsLine[CrashFacts::maxPath + 160];
    unsigned char encoded[maxCrashRecordBytes];
};

State state;
std::atomic<bool> installed{false};
std::atomic<bool> handling{false};

bool copyPath(char (&target)[PATH_MAX], const QByteArray &path)
{
    if (path.size() >= PATH_MAX)
        return false;
    std::memcpy(target, path.constData(), std::size_t(path.size()) + 1);
    return true;
}

template <std::size_t N>
void copyText(char (&target)[N], std::uint16_t &length, const char *text)
{
    std::size_t n = 0;
    while (text && text[n] && n < N)
        ++n;
    std::memcpy(target, text, n);
    length = std::uint16_t(n);
}

// --- Handler side: async-signal-safe only from here to the end of onSignal ---

void writeAll(int fd, const unsigned char *data, std::size_t size)
{
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return;
        data += n;
        size -= std::size_t(n);
    }
}

bool parseHex(const char *&p, const char *end, std::uint64_t &value)
{
    const char *start = p;
    value = 0;
    for (; p < end; ++p) {
        const char c = *p;
        const int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
        if (digit < 0)
            break;
        value = value * 16 + std::uint64_t(digit);
    }
    return p != start;
}

bool skipField(const char *&p, const char *end)
{
    while (p < end && *p != ' ')
        ++p;
    while (p < end && *p == ' ')
        ++p;
    return p < end;
}

// One line of /proc/self/maps: "start-end perms offset dev inode   path".
// Keeps executable file mappings that hold at least one of the frames.
void considerMapping(const char *line, std::size_t length)
{
    CrashFacts &facts = state.facts;
    const char *p = line;
    const char *end = line + length;
    std::uint64_t start = 0;
    std::uint64_t stop = 0;
    std::uint64_t offset = 0;
    std::uint64_t inode = 0;
    if (!parseHex(p, end, start) || p >= end || *p++ != '-' || !parseHex(p, end, stop) || p >= end ||
        *p++ != ' ')
        return;
    if (end - p < 4 || p[2] != 'x')
        return;
    p += 4;
    while (p < end && *p == ' ')
        ++p;
    if (!parseHex(p, end, offset) || !skipField(p, end) || !skipField(p, end))
        return;
    for (; p < end && *p >= '0' && *p <= '9'; ++p)
        inode = inode * 10 + std::uint64_t(*p - '0');
    while (p < end && *p == ' ')
        ++p;
    if (p >= end || *p != '/' || std::size_t(end - p) > CrashFacts::maxPath ||
        facts.moduleCount >= CrashFacts::maxModules)
        return;
    bool holdsFrame = false;
    for (std::uint32_t i = 0; i < facts.frameCount && !holdsFrame; ++i)
        holdsFrame = facts.frames[i] >= start && facts.frames[i] < stop;
    if (!holdsFrame)
        return;
    CrashFacts::Module &module = facts.modules[facts.moduleCount++];
    module.start = start;
    module.end = stop;
    module.fileOffset = offset;
    module.inode = inode;
    module.pathLength = std::uint16_t(end - p);
    std::memcpy(module.path, p, std::size_t(end - p));
}

void collectModules()
{
    const int fd = ::open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return;
    std::size_t lineLength = 0;
    bool overlong = false;
    for (;;) {
        const ssize_t n = ::read(fd, state.mapsChunk, sizeof state.mapsChunk);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        for (ssize_t i = 0; i < n; ++i) {
            const char c = state.mapsChunk[i];
            if (c == '\n') {
                if (!overlong)
                    considerMapping(state.mapsLine, lineLength);
                lineLength = 0;
                overlong = false;
            } else if (lineLength < sizeof state.mapsLine) {
                state.mapsLine[lineLength++] = c;
            } else {
                overlong = true;
            }
        }
    }
    ::close(fd);
}

std::uint64_t instructionPointer(void *context)
{
    const auto *uc = static_cast<const ucontext_t *>(context);
#if defined(__x86_64__)
    return std::uint64_t(uc->uc_mcontext.gregs[REG_RIP]);
#elif defined(__aarch64__)
    return std::uint64_t(uc->uc_mcontext.pc);
#else
    (void)uc;
    return 0;
#endif
}

void collectFacts(int signal, const siginfo_t *info, void *context)
{
    CrashFacts &facts = state.facts;
    facts.signal = signal;
    facts.code = info ? info->si_code : 0;
    // A positive si_code comes from the kernel: the faulting instruction raised
    // it. kill(), raise() and abort() give zero or negative codes.
    facts.hardwareFault = info && info->si_code > 0 && signal != SIGABRT;
    facts.faultAddress =
        facts.hardwareFault ? std::uint64_t(reinterpret_cast<std::uintptr_t>(info->si_addr)) : 0;
#if defined(__x86_64__)
    if (facts.hardwareFault && context)
        facts.trapNumber = static_cast<const ucontext_t *>(context)->uc_mcontext.gregs[REG_TRAPNO];
#endif

    // The handler's own frames and the signal trampoline come first; the record
    // starts at the interrupted instruction.
    const int count = ::backtrace(state.rawFrames, int(sizeof state.rawFrames / sizeof state.rawFrames[0]));
    const std::uint64_t pc = context ? instructionPointer(context) : 0;
    int first = 0;
    if (pc != 0) {
        first = -1;
        for (int i = 0; i < count && first < 0; ++i) {
            if (std::uint64_t(reinterpret_cast<std::uintptr_t>(state.rawFrames[i])) == pc)
                first = i;
        }
        if (first < 0) {
            facts.frames[facts.frameCount++] = pc;
            first = 0;
        }
    }
    for (int i = first; i < count && facts.frameCount < CrashFacts::maxFrames; ++i)
        facts.frames[facts.frameCount++] =
            std::uint64_t(reinterpret_cast<std::uintptr_t>(state.rawFrames[i]));
    collectModules();
}

void storeRecord()
{
    const std::size_t size = encodeCrashRecord(state.facts, state.encoded, sizeof state.encoded);
    if (size == 0)
        return;
    int fd = state.fd;
    bool linked = false;
    writeAll(fd, state.encoded, size);
    ::fsync(fd);
    if (state.anonymous) {
        // linkat() refuses an existing name, so the record appears under a
        // staging name first and replaces an older record atomically.
        ::unlink(state.stagingPath);
        linked = ::linkat(AT_FDCWD, state.fdLink, AT_FDCWD, state.stagingPath, AT_SYMLINK_FOLLOW) == 0;
        if (!linked) {
            // No /proc: write the record again under the staging name.
            fd = ::open(state.stagingPath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
            if (fd < 0)
                return;
            writeAll(fd, state.encoded, size);
            ::fsync(fd);
            ::close(fd);
        }
    }
    if (::rename(state.stagingPath, state.recordPath) != 0)
        return;
    const int directory = ::open(state.directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory >= 0) {
        ::fsync(directory);
        ::close(directory);
    }
}

void dieWithDefaultAction(int signal)
{
    struct sigaction action
    {};
    action.sa_handler = SIG_DFL;
    sigemptyset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
    // Pending until the handler returns and the signal mask is restored, then
    // delivered in the interrupted context, so a core dump shows the fault.
    ::raise(signal);
}

void onSignal(int signal, siginfo_t *info, void *context)
{
    const int savedErrno = errno;
    if (handling.exchange(true)) {
        // Another thread is writing the record; give it time to finish.
        for (unsigned i = 0; i < watchdogSeconds * 10; ++i) {
            const timespec pause{0, 100 * 1000 * 1000};
            ::nanosleep(&pause, nullptr);
        }
    } else {
        ::alarm(watchdogSeconds);
        collectFacts(signal, info, context);
        storeRecord();
    }
    dieWithDefaultAction(signal);
    errno = savedErrno;
}

// --- End of the handler side ---

[[noreturn]] void onTerminate()
{
    CrashFacts &facts = state.facts;
    facts.terminated = true;
    // Non-null only while an exception is being handled, which is how the
    // runtime calls us for an uncaught one; then it can be rethrown to be read.
    if (const std::type_info *type = abi::__cxa_current_exception_type()) {
        const char *name = type->name();
        copyText(facts.exceptionType, facts.exceptionTypeLength, name[0] == '*' ? name + 1 : name);
        try {
            throw;
        } catch (const std::exception &exception) {
            copyText(facts.reason, facts.reasonLength, exception.what());
        } catch (...) {
        }
    }
    std::abort();
}

bool prepareRecordFile(const QString &recordPath)
{
    const QFileInfo info(recordPath);
    const QString directory = info.absolutePath();
    if (!ensurePrivateDirectory(directory))
        return false;
    const QByteArray encodedDirectory = QFile::encodeName(directory);
    if (!copyPath(state.directory, encodedDirectory) ||
        !copyPath(state.recordPath, QFile::encodeName(info.absoluteFilePath())) ||
        !copyPath(state.stagingPath, QFile::encodeName(info.absoluteFilePath() + QStringLiteral(".new"))))
        return false;
    // An unnamed file leaves nothing behind while all is well and needs no open()
    // in the handler (a crash may come from running out of descriptors).
    state.fd = ::open(state.directory, O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
    state.anonymous = state.fd >= 0;
    if (state.anonymous) {
        std::snprintf(state.fdLink, sizeof state.fdLink, "/proc/self/fd/%d", state.fd);
    } else {
        // File systems without O_TMPFILE: an empty staging file waits instead.
        state.fd = ::open(state.stagingPath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    }
    return state.fd >= 0;
}

void installAlternateStack()
{
    // Leaked on purpose: the handler may need it until the process ends.
    stack_t stack{};
    stack.ss_sp = std::malloc(alternateStackBytes);
    stack.ss_size = alternateStackBytes;
    if (stack.ss_sp)
        ::sigaltstack(&stack, nullptr);
}

} // namespace

QString defaultRecordPath()
{
    QString base = qEnvironmentVariable("XDG_STATE_HOME");
    if (!QDir::isAbsolutePath(base))
        base = QDir::homePath() + QStringLiteral("/.local/state");
    return base + QStringLiteral("/veilora/crash.record");
}

bool install(const QString &recordPath)
{
    if (installed.exchange(true))
        return true;
    if (!prepareRecordFile(recordPath)) {
        installed = false;
        return false;
    }
    CrashFacts &facts = state.facts;
    const QByteArray os = (QSysInfo::prettyProductName() + QStringLiteral(", ") + QSysInfo::kernelType() +
                           QLatin1Char(' ') + QSysInfo::kernelVersion())
                              .toUtf8();
    copyText(facts.osVersion, facts.osVersionLength, os.constData());
    copyText(facts.arch, facts.archLength, QSysInfo::buildCpuArchitecture().toUtf8().constData());

    // The first backtrace() loads the unwinder and allocates; not in the handler.
    ::backtrace(state.rawFrames, 4);
    installAlternateStack();

    struct sigaction action
    {};
    action.sa_sigaction = &onSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    for (const int signal : caughtSignals)
        sigaddset(&action.sa_mask, signal);
    for (const int signal : caughtSignals)
        ::sigaction(signal, &action, nullptr);
    std::set_terminate(&onTerminate);
    return true;
}

} // namespace veilora::CrashCapture
