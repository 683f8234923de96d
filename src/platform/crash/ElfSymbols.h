#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>
#include <vector>

namespace veilora {

// The function symbols of one 64-bit ELF file of this machine's byte order, for
// naming the frames of a crash record. Reads .symtab, or .dynsym when the file
// was stripped (a stripped binary then names only its exported functions).
//
// The file is outside data (it may have been replaced or damaged since the
// crash): every offset is checked, and a file that makes no sense yields no
// symbols rather than wrong ones.
class ElfSymbols
{
public:
    struct Symbol
    {
        quint64 address = 0;
        quint64 size = 0;
        QByteArray name; // as stored, mangled
    };

    static std::optional<ElfSymbols> load(const QString &path);
    static std::optional<ElfSymbols> parse(QByteArrayView image);

    // The module-relative address (what the symbol values and addr2line use) of
    // a byte at `fileOffset` in the file, when a loadable segment holds it.
    std::optional<quint64> addressOfFileOffset(quint64 fileOffset) const;

    // The function holding `address`, or none.
    const Symbol *functionAt(quint64 address) const;

    qsizetype symbolCount() const { return qsizetype(m_symbols.size()); }

private:
    struct Segment
    {
        quint64 fileOffset = 0;
        quint64 fileSize = 0;
        quint64 address = 0;
    };

    QList<Segment> m_segments;
    std::vector<Symbol> m_symbols; // by address
};

// "veilora::crashForTesting(veilora::CrashKind)" for "_ZN7veilora15crashForTestingENS_9CrashKindE";
// names that are not mangled C++ come back as they are.
QString demangledName(const QByteArray &name);

} // namespace veilora
