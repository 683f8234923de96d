#include "CrashRecord.h"

#include <QtEndian>

#include <cstring>

// Layout, little-endian throughout:
//   0  magic "VLCRASH\0"      8  u32 version         12 u32 total size
//   16 i32 signal             20 i32 si_code         24 u64 fault address
//   32 i64 trap number        40 u32 flags           44 u32 frame count
//   48 u32 module count       52 u16 os version, arch, exception type and reason lengths
//   60 u32 zero
//   64 u64 frames[], then per module u64 start, u64 end, u64 file offset, u64 inode, u16 path length,
//   path; then the four texts; last an FNV-1a checksum of everything before it.
// A version change means a new magic or version, never a reinterpretation.

namespace veilora {

namespace {

constexpr unsigned char magic[8] = {'V', 'L', 'C', 'R', 'A', 'S', 'H', 0};
constexpr std::uint32_t version = 1;
constexpr std::size_t headerBytes = 64;
constexpr std::uint32_t flagHardwareFault = 1;
constexpr std::uint32_t flagTerminated = 2;
constexpr std::uint32_t flagHasTrapNumber = 4;
constexpr std::uint32_t knownFlags = flagHardwareFault | flagTerminated | flagHasTrapNumber;

std::uint32_t fnv1a(const unsigned char *data, std::size_t size)
{
    std::uint32_t hash = 2166136261u;
    for (std::size_t i = 0; i < size; ++i) {
        hash ^= data[i];
        hash *= 16777619u;
    }
    return hash;
}

// Writes into a fixed buffer; nothing here may allocate or call into a library
// that could, because it runs inside the signal handler.
class Writer
{
public:
    Writer(unsigned char *out, std::size_t capacity)
        : m_out(out)
        , m_capacity(capacity)
    {}

    void put(std::uint64_t value, int bytes)
    {
        if (!room(std::size_t(bytes)))
            return;
        for (int i = 0; i < bytes; ++i)
            m_out[m_size++] = static_cast<unsigned char>(value >> (8 * i));
    }
    void bytes(const void *data, std::size_t size)
    {
        if (!room(size))
            return;
        std::memcpy(m_out + m_size, data, size);
        m_size += size;
    }
    bool failed() const { return m_failed; }
    std::size_t size() const { return m_size; }
    unsigned char *data() const { return m_out; }

private:
    bool room(std::size_t size)
    {
        if (m_failed || m_capacity - m_size < size)
            m_failed = true;
        return !m_failed;
    }

    unsigned char *m_out;
    std::size_t m_capacity;
    std::size_t m_size = 0;
    bool m_failed = false;
};

class Reader
{
public:
    explicit Reader(QByteArrayView data)
        : m_data(data)
    {}

    template <typename T>
    std::optional<T> get()
    {
        if (m_data.size() - m_position < qsizetype(sizeof(T)))
            return std::nullopt;
        const T value = qFromLittleEndian<T>(m_data.data() + m_position);
        m_position += qsizetype(sizeof(T));
        return value;
    }
    std::optional<QByteArrayView> bytes(qsizetype size)
    {
        if (size < 0 || m_data.size() - m_position < size)
            return std::nullopt;
        const QByteArrayView view = m_data.sliced(m_position, size);
        m_position += size;
        return view;
    }
    qsizetype position() const { return m_position; }

private:
    QByteArrayView m_data;
    qsizetype m_position = 0;
};

std::size_t clampLength(std::size_t length, std::size_t limit)
{
    return length < limit ? length : limit;
}

} // namespace

std::size_t encodeCrashRecord(const CrashFacts &facts, unsigned char *out, std::size_t capacity)
{
    Writer w(out, capacity);
    const std::uint32_t frameCount =
        facts.frameCount < CrashFacts::maxFrames ? facts.frameCount : std::uint32_t(CrashFacts::maxFrames);
    const std::uint32_t moduleCount = facts.moduleCount < CrashFacts::maxModules
                                          ? facts.moduleCount
                                          : std::uint32_t(CrashFacts::maxModules);
    const std::size_t osLength = clampLength(facts.osVersionLength, sizeof facts.osVersion);
    const std::size_t archLength = clampLength(facts.archLength, sizeof facts.arch);
    const std::size_t typeLength = clampLength(facts.exceptionTypeLength, sizeof facts.exceptionType);
    const std::size_t reasonLength = clampLength(facts.reasonLength, sizeof facts.reason);
    std::uint32_t flags = 0;
    if (facts.hardwareFault)
        flags |= flagHardwareFault;
    if (facts.terminated)
        flags |= flagTerminated;
    if (facts.trapNumber >= 0)
        flags |= flagHasTrapNumber;

    w.bytes(magic, sizeof magic);
    w.put(version, 4);
    w.put(0, 4); // total size, filled in below
    w.put(std::uint32_t(facts.signal), 4);
    w.put(std::uint32_t(facts.code), 4);
    w.put(facts.faultAddress, 8);
    w.put(std::uint64_t(facts.trapNumber), 8);
    w.put(flags, 4);
    w.put(frameCount, 4);
    w.put(moduleCount, 4);
    w.put(osLength, 2);
    w.put(archLength, 2);
    w.put(typeLength, 2);
    w.put(reasonLength, 2);
    w.put(0, 4);
    for (std::uint32_t i = 0; i < frameCount; ++i)
        w.put(facts.frames[i], 8);
    for (std::uint32_t i = 0; i < moduleCount; ++i) {
        const CrashFacts::Module &module = facts.modules[i];
        const std::size_t pathLength = clampLength(module.pathLength, sizeof module.path);
        w.put(module.start, 8);
        w.put(module.end, 8);
        w.put(module.fileOffset, 8);
        w.put(module.inode, 8);
        w.put(pathLength, 2);
        w.bytes(module.path, pathLength);
    }
    w.bytes(facts.osVersion, osLength);
    w.bytes(facts.arch, archLength);
    w.bytes(facts.exceptionType, typeLength);
    w.bytes(facts.reason, reasonLength);
    if (w.failed() || capacity - w.size() < 4)
        return 0;
    const std::uint32_t total = std::uint32_t(w.size() + 4);
    for (int i = 0; i < 4; ++i)
        out[12 + i] = static_cast<unsigned char>(total >> (8 * i));
    w.put(fnv1a(w.data(), w.size()), 4);
    return w.size();
}

std::optional<CrashRecord> CrashRecord::parse(QByteArrayView data)
{
    if (data.size() < qsizetype(headerBytes + 4) || qsizetype(maxCrashRecordBytes) < data.size())
        return std::nullopt;
    if (std::memcmp(data.data(), magic, sizeof magic) != 0)
        return std::nullopt;
    const auto *raw = reinterpret_cast<const unsigned char *>(data.data());
    const qsizetype body = data.size() - 4;
    if (qFromLittleEndian<quint32>(raw + body) != fnv1a(raw, std::size_t(body)))
        return std::nullopt;

    Reader r(data.first(body));
    r.bytes(sizeof magic);
    const auto recordVersion = r.get<quint32>();
    const auto total = r.get<quint32>();
    const auto signal = r.get<qint32>();
    const auto code = r.get<qint32>();
    const auto faultAddress = r.get<quint64>();
    const auto trapNumber = r.get<qint64>();
    const auto flags = r.get<quint32>();
    const auto frameCount = r.get<quint32>();
    const auto moduleCount = r.get<quint32>();
    const auto osLength = r.get<quint16>();
    const auto archLength = r.get<quint16>();
    const auto typeLength = r.get<quint16>();
    const auto reasonLength = r.get<quint16>();
    const auto reserved = r.get<quint32>();
    if (!reserved || *recordVersion != version || *total != quint32(data.size()) || *reserved != 0 ||
        (*flags & ~knownFlags) != 0)
        return std::nullopt;
    // Every signal number Linux has; anything else was never written by us.
    if (*signal < 1 || *signal > 64 || *frameCount > CrashFacts::maxFrames ||
        *moduleCount > CrashFacts::maxModules || *osLength > 256 || *archLength > 32 || *typeLength > 256 ||
        *reasonLength > CrashFacts::maxText)
        return std::nullopt;

    CrashRecord record;
    record.signal = *signal;
    record.code = *code;
    record.faultAddress = *faultAddress;
    if (*flags & flagHasTrapNumber) {
        if (*trapNumber < 0)
            return std::nullopt;
        record.trapNumber = *trapNumber;
    }
    record.hardwareFault = (*flags & flagHardwareFault) != 0;
    record.terminated = (*flags & flagTerminated) != 0;
    for (quint32 i = 0; i < *frameCount; ++i) {
        const auto frame = r.get<quint64>();
        if (!frame)
            return std::nullopt;
        record.frames.append(*frame);
    }
    for (quint32 i = 0; i < *moduleCount; ++i) {
        Module module;
        const auto start = r.get<quint64>();
        const auto end = r.get<quint64>();
        const auto fileOffset = r.get<quint64>();
        const auto inode = r.get<quint64>();
        const auto pathLength = r.get<quint16>();
        if (!pathLength || *pathLength > CrashFacts::maxPath || *end <= *start)
            return std::nullopt;
        const auto path = r.bytes(*pathLength);
        if (!path)
            return std::nullopt;
        module.start = *start;
        module.end = *end;
        module.fileOffset = *fileOffset;
        module.inode = *inode;
        module.path = QString::fromUtf8(*path);
        record.modules.append(module);
    }
    const auto os = r.bytes(*osLength);
    const auto arch = r.bytes(*archLength);
    const auto type = r.bytes(*typeLength);
    const auto reason = r.bytes(*reasonLength);
    if (!reason || r.position() != body)
        return std::nullopt;
    record.osVersion = QString::fromUtf8(*os);
    record.arch = QString::fromUtf8(*arch);
    record.exceptionType = type->toByteArray();
    record.reason = QString::fromUtf8(*reason);
    return record;
}

} // namespace veilora
