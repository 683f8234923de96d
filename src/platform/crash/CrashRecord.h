#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace veilora {

// What a crashing process knows about itself, in storage that needs no
// allocation: the signal handler fills it in and encodes it with
// encodeCrashRecord(), which touches nothing but this memory and the output.
struct CrashFacts
{
    static constexpr std::size_t maxFrames = 128;
    // Only the modules that hold a frame are kept, so never more than the frames.
    static constexpr std::size_t maxModules = maxFrames;
    static constexpr std::size_t maxPath = 1024;
    static constexpr std::size_t maxText = 2048;

    struct Module
    {
        std::uint64_t start = 0; // the executable mapping [start, end) ...
        std::uint64_t end = 0;
        std::uint64_t fileOffset = 0; // ... shows the file from this offset on
        std::uint64_t inode = 0;      // tells at the next start whether the file was replaced since
        std::uint16_t pathLength = 0;
        char path[maxPath];
    };

    std::int32_t signal = 0;
    std::int32_t code = 0; // si_code
    std::uint64_t faultAddress = 0;
    std::int64_t trapNumber = -1; // the CPU's trap number where the machine context has one
    bool hardwareFault = false;   // raised by the faulting instruction, not sent or raised in software
    bool terminated = false;      // the std::terminate handler ran first

    std::uint32_t frameCount = 0;
    std::uint64_t frames[maxFrames]; // frames[0] is the exact instruction, the rest return addresses

    std::uint32_t moduleCount = 0;
    Module modules[maxModules];

    // Captured at install time: the handler cannot ask.
    std::uint16_t osVersionLength = 0;
    char osVersion[256];
    std::uint16_t archLength = 0;
    char arch[32];

    std::uint16_t exceptionTypeLength = 0;
    char exceptionType[256]; // mangled, as the type's type_info names it
    std::uint16_t reasonLength = 0;
    char reason[maxText];
};

// The bytes of one record, or 0 when `capacity` is too small. Async-signal-safe.
std::size_t encodeCrashRecord(const CrashFacts &facts, unsigned char *out, std::size_t capacity);

// Enough room for any record.
inline constexpr std::size_t maxCrashRecordBytes = 64 + CrashFacts::maxFrames * 8 +
                                                   CrashFacts::maxModules * (34 + CrashFacts::maxPath) + 256 +
                                                   32 + 256 + CrashFacts::maxText + 4;

// A crash record as read back at the next start. Outside data: the file may be
// truncated (the power failed mid-write), from another version, or garbage.
struct CrashRecord
{
    struct Module
    {
        quint64 start = 0;
        quint64 end = 0;
        quint64 fileOffset = 0;
        quint64 inode = 0;
        QString path;
    };

    int signal = 0;
    int code = 0;
    quint64 faultAddress = 0;
    std::optional<qint64> trapNumber;
    bool hardwareFault = false;
    bool terminated = false;
    QList<quint64> frames;
    QList<Module> modules;
    QString osVersion;
    QString arch;
    QByteArray exceptionType;
    QString reason;

    // nullopt unless `data` is exactly one whole, intact record of this version.
    static std::optional<CrashRecord> parse(QByteArrayView data);
};

} // namespace veilora
