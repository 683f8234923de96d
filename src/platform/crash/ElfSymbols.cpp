#include "ElfSymbols.h"

#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <elf.h>
#include <memory>

namespace veilora {

namespace {

// A bounds-checked copy of one structure out of the image; alignment in a
// mapped file is whatever the linker left, so never cast in place.
template <typename T>
std::optional<T> structAt(QByteArrayView image, quint64 offset)
{
    if (offset > quint64(image.size()) || quint64(image.size()) - offset < sizeof(T))
        return std::nullopt;
    T value;
    std::memcpy(&value, image.data() + offset, sizeof(T));
    return value;
}

bool fits(QByteArrayView image, quint64 offset, quint64 size)
{
    return offset <= quint64(image.size()) && size <= quint64(image.size()) - offset;
}

} // namespace

std::optional<ElfSymbols> ElfSymbols::load(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() <= 0)
        return std::nullopt;
    uchar *mapped = file.map(0, file.size());
    if (!mapped)
        return std::nullopt;
    auto symbols = parse(QByteArrayView(reinterpret_cast<const char *>(mapped), file.size()));
    file.unmap(mapped);
    return symbols;
}

std::optional<ElfSymbols> ElfSymbols::parse(QByteArrayView image)
{
    const auto header = structAt<Elf64_Ehdr>(image, 0);
    if (!header || std::memcmp(header->e_ident, ELFMAG, SELFMAG) != 0 ||
        header->e_ident[EI_CLASS] != ELFCLASS64 ||
        header->e_ident[EI_DATA] != (Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? ELFDATA2LSB : ELFDATA2MSB))
        return std::nullopt;

    ElfSymbols result;
    if (header->e_phentsize == sizeof(Elf64_Phdr)) {
        for (quint64 i = 0; i < header->e_phnum; ++i) {
            const auto program = structAt<Elf64_Phdr>(image, header->e_phoff + i * sizeof(Elf64_Phdr));
            if (!program)
                return std::nullopt;
            if (program->p_type == PT_LOAD)
                result.m_segments.append({program->p_offset, program->p_filesz, program->p_vaddr});
        }
    }

    if (header->e_shentsize != sizeof(Elf64_Shdr) || header->e_shnum == 0)
        return result;
    const auto section = [&](quint64 index) {
        return index < header->e_shnum
                   ? structAt<Elf64_Shdr>(image, header->e_shoff + index * sizeof(Elf64_Shdr))
                   : std::nullopt;
    };
    std::optional<Elf64_Shdr> table;
    for (const Elf64_Word wanted : {Elf64_Word(SHT_SYMTAB), Elf64_Word(SHT_DYNSYM)}) {
        for (quint64 i = 0; i < header->e_shnum && !table; ++i) {
            const auto candidate = section(i);
            if (candidate && candidate->sh_type == wanted && candidate->sh_size > 0)
                table = candidate;
        }
        if (table)
            break;
    }
    if (!table)
        return result;
    const auto strings = section(table->sh_link);
    if (!strings || strings->sh_type != SHT_STRTAB || !fits(image, table->sh_offset, table->sh_size) ||
        !fits(image, strings->sh_offset, strings->sh_size))
        return result;

    const QByteArrayView names = image.sliced(qsizetype(strings->sh_offset), qsizetype(strings->sh_size));
    const quint64 count = table->sh_size / sizeof(Elf64_Sym);
    result.m_symbols.reserve(std::size_t(std::min<quint64>(count, 1u << 20)));
    for (quint64 i = 0; i < count; ++i) {
        const auto symbol = structAt<Elf64_Sym>(image, table->sh_offset + i * sizeof(Elf64_Sym));
        if (!symbol)
            break;
        const unsigned type = ELF64_ST_TYPE(symbol->st_info);
        if ((type != STT_FUNC && type != STT_GNU_IFUNC) || symbol->st_shndx == SHN_UNDEF ||
            symbol->st_value == 0 || symbol->st_name >= quint64(names.size()))
            continue;
        const char *begin = names.data() + symbol->st_name;
        const void *terminator =
            std::memchr(begin, 0, std::size_t(names.size() - qsizetype(symbol->st_name)));
        if (!terminator || terminator == begin)
            continue;
        result.m_symbols.push_back({symbol->st_value, symbol->st_size,
                                    QByteArray(begin, static_cast<const char *>(terminator) - begin)});
    }
    // Among symbols at one address the sized one wins: aliases and labels have none.
    std::sort(result.m_symbols.begin(), result.m_symbols.end(), [](const Symbol &a, const Symbol &b) {
        return a.address != b.address ? a.address < b.address : a.size < b.size;
    });
    return result;
}

std::optional<quint64> ElfSymbols::addressOfFileOffset(quint64 fileOffset) const
{
    for (const Segment &segment : m_segments) {
        if (fileOffset >= segment.fileOffset && fileOffset - segment.fileOffset < segment.fileSize)
            return segment.address + (fileOffset - segment.fileOffset);
    }
    return std::nullopt;
}

const ElfSymbols::Symbol *ElfSymbols::functionAt(quint64 address) const
{
    auto it = std::upper_bound(m_symbols.begin(), m_symbols.end(), address,
                               [](quint64 value, const Symbol &symbol) { return value < symbol.address; });
    if (it == m_symbols.begin())
        return nullptr;
    const Symbol &nearest = *(it - 1);
    // A few steps back find a function that encloses a smaller one's neighbour
    // (split cold parts, nested local labels) without scanning the whole table.
    for (int steps = 0; steps < 8 && it != m_symbols.begin(); ++steps) {
        --it;
        if (it->size > 0 && address - it->address < it->size)
            return &*it;
    }
    return nearest.size == 0 ? &nearest : nullptr;
}

QString demangledName(const QByteArray &name)
{
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> demangled(
        abi::__cxa_demangle(name.constData(), nullptr, nullptr, &status), &std::free);
    return status == 0 && demangled ? QString::fromUtf8(demangled.get()) : QString::fromUtf8(name);
}

} // namespace veilora
