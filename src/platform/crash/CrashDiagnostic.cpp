#include "CrashDiagnostic.h"

#include "platform/EventLog.h"
#include "platform/crash/ElfSymbols.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <map>
#include <sys/stat.h>

namespace veilora {

namespace {

QString hex(quint64 value)
{
    return QStringLiteral("0x") + QString::number(value, 16);
}

// Symbols of the modules of one record, each file read once, and only if it is
// still the file that was mapped when the process crashed.
class ModuleSymbols
{
public:
    const ElfSymbols *forModule(const CrashRecord::Module &module)
    {
        auto it = m_loaded.find(module.path);
        if (it == m_loaded.end()) {
            std::optional<ElfSymbols> symbols;
            struct stat st
            {};
            if (!module.path.endsWith(QLatin1String(" (deleted)")) &&
                ::stat(QFile::encodeName(module.path).constData(), &st) == 0 &&
                quint64(st.st_ino) == module.inode)
                symbols = ElfSymbols::load(module.path);
            it = m_loaded.emplace(module.path, std::move(symbols)).first;
        }
        return it->second ? &*it->second : nullptr;
    }

private:
    std::map<QString, std::optional<ElfSymbols>> m_loaded;
};

QJsonObject describeFrame(const CrashRecord &record, qsizetype index, ModuleSymbols &symbols)
{
    const quint64 address = record.frames[index];
    QJsonObject frame;
    for (const CrashRecord::Module &module : record.modules) {
        if (address < module.start || address >= module.end)
            continue;
        const quint64 fileOffset = address - module.start + module.fileOffset;
        quint64 offset = fileOffset;
        frame.insert(QStringLiteral("module"), QFileInfo(module.path).fileName());
        if (const ElfSymbols *elf = symbols.forModule(module)) {
            offset = elf->addressOfFileOffset(fileOffset).value_or(fileOffset);
            // A return address may already lie past the end of its caller (a call
            // to a function that never returns), so callers are looked up one
            // byte earlier; the first frame is the faulting instruction itself.
            const quint64 lookup = index == 0 || offset == 0 ? offset : offset - 1;
            if (const ElfSymbols::Symbol *function = elf->functionAt(lookup)) {
                frame.insert(QStringLiteral("function"), demangledName(function->name));
                frame.insert(QStringLiteral("functionOffset"), hex(offset - function->address));
            }
        }
        frame.insert(QStringLiteral("offset"), hex(offset));
        return frame;
    }
    frame.insert(QStringLiteral("module"), QStringLiteral("?"));
    frame.insert(QStringLiteral("offset"), hex(address));
    return frame;
}

std::optional<QString> terminationReasonOf(const CrashRecord &record)
{
    if (!record.terminated)
        return std::nullopt;
    if (record.exceptionType.isEmpty())
        return QStringLiteral("std::terminate");
    QString reason = QStringLiteral("uncaught exception of type ") + demangledName(record.exceptionType);
    if (!record.reason.isEmpty())
        reason += QStringLiteral(": ") + record.reason;
    return reason;
}

} // namespace

CrashDiagnostic CrashDiagnostic::fromRecord(const CrashRecord &record)
{
    CrashDiagnostic diagnostic;
    diagnostic.osVersion = record.osVersion;
    diagnostic.platformArchitecture = record.arch;
    diagnostic.signal = record.signal;
    if (record.hardwareFault) {
        diagnostic.exceptionCode = record.code;
        diagnostic.exceptionType = record.trapNumber;
    }
    diagnostic.terminationReason = terminationReasonOf(record);

    ModuleSymbols symbols;
    QJsonArray frames;
    for (qsizetype i = 0; i < record.frames.size(); ++i)
        frames.append(describeFrame(record, i, symbols));
    diagnostic.callStackJSON =
        QJsonDocument(QJsonObject{{QStringLiteral("frames"), frames}}).toJson(QJsonDocument::Compact);
    return diagnostic;
}

namespace PendingCrash {

std::optional<CrashRecord> take(const QString &recordPath)
{
    QFile file(recordPath);
    if (!file.exists())
        return std::nullopt;
    QByteArray data;
    if (file.open(QIODevice::ReadOnly))
        data = file.read(qint64(maxCrashRecordBytes) + 1);
    file.close();
    if (!QFile::remove(recordPath)) {
        // Delivered now, it would arrive again at every start.
        EventLog::write(QStringLiteral("crash: could not delete the crash record; not sent"));
        return std::nullopt;
    }
    auto record = CrashRecord::parse(data);
    if (!record)
        EventLog::write(
            QStringLiteral("crash: discarded an unreadable crash record (%1 bytes)").arg(data.size()));
    return record;
}

} // namespace PendingCrash

} // namespace veilora
