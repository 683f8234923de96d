// The crash record from the handler to the next start: its encoding, its reader
// against damaged files, the symbol reader, and the real handler in a child
// that crashes.
#include "platform/crash/CrashRecord.h"

#include "diagnostics/DebugLog.h"
#include "platform/crash/CrashCapture.h"
#include "platform/crash/CrashDiagnostic.h"
#include "platform/crash/CrashForTesting.h"
#include "platform/crash/ElfSymbols.h"
#include "support/TestPeer.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QThread>

#include <csignal>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>

using namespace veilora;
using namespace veilora::test;

namespace {

std::unique_ptr<CrashFacts> sampleFacts()
{
    auto facts = std::make_unique<CrashFacts>();
    facts->signal = SIGSEGV;
    facts->code = 1;
    facts->faultAddress = 0x10;
    facts->trapNumber = 14;
    facts->hardwareFault = true;
    facts->frameCount = 3;
    facts->frames[0] = 0x5000;
    facts->frames[1] = 0x5100;
    facts->frames[2] = 0x7f0000001000;
    facts->moduleCount = 1;
    facts->modules[0].start = 0x4000;
    facts->modules[0].end = 0x6000;
    facts->modules[0].fileOffset = 0x1000;
    facts->modules[0].inode = 77;
    const char path[] = "/usr/bin/veilora";
    std::memcpy(facts->modules[0].path, path, sizeof path - 1);
    facts->modules[0].pathLength = sizeof path - 1;
    const char os[] = "Debian GNU/Linux 12 (bookworm), linux 6.1.0";
    std::memcpy(facts->osVersion, os, sizeof os - 1);
    facts->osVersionLength = sizeof os - 1;
    std::memcpy(facts->arch, "x86_64", 6);
    facts->archLength = 6;
    return facts;
}

QByteArray encode(const CrashFacts &facts)
{
    QByteArray out(qsizetype(maxCrashRecordBytes), '\0');
    const std::size_t size =
        encodeCrashRecord(facts, reinterpret_cast<unsigned char *>(out.data()), out.size());
    out.truncate(qsizetype(size));
    return out;
}

qsizetype logLinesContaining(const QString &text)
{
    return DebugLog::tail().count(text);
}

QJsonArray framesOf(const CrashDiagnostic &diagnostic)
{
    return QJsonDocument::fromJson(diagnostic.callStackJSON)
        .object()
        .value(QStringLiteral("frames"))
        .toArray();
}

bool namesFunction(const QJsonArray &frames, const QString &name)
{
    for (const QJsonValue &frame : frames) {
        if (frame.toObject().value(QStringLiteral("function")).toString().contains(name))
            return true;
    }
    return false;
}

} // namespace

TEST(CrashRecord, ReadsBackWhatTheHandlerWrote)
{
    auto facts = sampleFacts();
    facts->terminated = true;
    std::memcpy(facts->exceptionType, "St13runtime_error", 17);
    facts->exceptionTypeLength = 17;
    const QByteArray reason = QStringLiteral("zu groß: ✗").toUtf8();
    std::memcpy(facts->reason, reason.constData(), std::size_t(reason.size()));
    facts->reasonLength = std::uint16_t(reason.size());

    const auto record = CrashRecord::parse(encode(*facts));
    ASSERT_TRUE(record);
    EXPECT_EQ(record->signal, SIGSEGV);
    EXPECT_EQ(record->code, 1);
    EXPECT_EQ(record->faultAddress, 0x10u);
    EXPECT_EQ(record->trapNumber, 14);
    EXPECT_TRUE(record->hardwareFault);
    EXPECT_TRUE(record->terminated);
    EXPECT_EQ(record->frames, (QList<quint64>{0x5000, 0x5100, 0x7f0000001000}));
    ASSERT_EQ(record->modules.size(), 1);
    EXPECT_EQ(record->modules[0].start, 0x4000u);
    EXPECT_EQ(record->modules[0].end, 0x6000u);
    EXPECT_EQ(record->modules[0].fileOffset, 0x1000u);
    EXPECT_EQ(record->modules[0].inode, 77u);
    EXPECT_EQ(record->modules[0].path, QStringLiteral("/usr/bin/veilora"));
    EXPECT_EQ(record->osVersion, QStringLiteral("Debian GNU/Linux 12 (bookworm), linux 6.1.0"));
    EXPECT_EQ(record->arch, QStringLiteral("x86_64"));
    EXPECT_EQ(record->exceptionType, QByteArray("St13runtime_error"));
    EXPECT_EQ(record->reason, QStringLiteral("zu groß: ✗"));

    // A signal sent from outside has no trap number, and that must not read as 0.
    facts->trapNumber = -1;
    EXPECT_FALSE(CrashRecord::parse(encode(*facts))->trapNumber);
}

TEST(CrashRecord, EncodingNeverOverrunsItsBuffer)
{
    auto facts = sampleFacts();
    facts->frameCount = CrashFacts::maxFrames;
    facts->moduleCount = CrashFacts::maxModules;
    for (std::size_t i = 0; i < CrashFacts::maxModules; ++i) {
        facts->modules[i] = facts->modules[0];
        facts->modules[i].pathLength = CrashFacts::maxPath;
    }
    facts->reasonLength = CrashFacts::maxText;
    const QByteArray full = encode(*facts);
    ASSERT_FALSE(full.isEmpty());
    EXPECT_LE(full.size(), qsizetype(maxCrashRecordBytes));
    QByteArray small(full.size() - 1, '\0');
    EXPECT_EQ(
        encodeCrashRecord(*facts, reinterpret_cast<unsigned char *>(small.data()), std::size_t(small.size())),
        0u);
}

TEST(CrashRecord, RefusesEveryTruncationAndDamage)
{
    const QByteArray whole = encode(*sampleFacts());
    ASSERT_TRUE(CrashRecord::parse(whole));
    for (qsizetype size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(CrashRecord::parse(whole.first(size))) << "truncated to " << size;
    for (qsizetype i = 0; i < whole.size(); ++i) {
        QByteArray damaged = whole;
        damaged[i] = char(damaged[i] ^ 0x40);
        EXPECT_FALSE(CrashRecord::parse(damaged)) << "byte " << i;
    }
    EXPECT_FALSE(CrashRecord::parse(whole + QByteArray(1, '\0')));
    QRandomGenerator random(7);
    for (int i = 0; i < 200; ++i) {
        QByteArray noise(qsizetype(random.bounded(4096)), '\0');
        random.fillRange(reinterpret_cast<quint32 *>(noise.data()), noise.size() / 4);
        EXPECT_FALSE(CrashRecord::parse(noise));
    }
}

TEST(PendingCrash, ConsumesTheRecordOnceAndDropsGarbageWithOneLogLine)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("crash.record"));
    EXPECT_FALSE(PendingCrash::take(path));

    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(encode(*sampleFacts()));
    file.close();
    EXPECT_TRUE(PendingCrash::take(path));
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_FALSE(PendingCrash::take(path));

    const QString line = QStringLiteral("unreadable crash record");
    const qsizetype before = logLinesContaining(line);
    for (const QByteArray &garbage :
         {encode(*sampleFacts()).chopped(9), QByteArray("VLCRASH"), QByteArray()}) {
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(garbage);
        file.close();
        EXPECT_FALSE(PendingCrash::take(path));
        EXPECT_FALSE(QFile::exists(path));
    }
    EXPECT_EQ(logLinesContaining(line), before + 3);
}

TEST(CrashDiagnostic, ExceptionFactsOnlyForFaultsAndReasonsOnlyForTerminate)
{
    auto facts = sampleFacts();
    const CrashDiagnostic fault = CrashDiagnostic::fromRecord(*CrashRecord::parse(encode(*facts)));
    EXPECT_EQ(fault.signal, SIGSEGV);
    EXPECT_EQ(fault.exceptionType, 14);
    EXPECT_EQ(fault.exceptionCode, 1);
    EXPECT_FALSE(fault.terminationReason);
    EXPECT_EQ(fault.osVersion, QStringLiteral("Debian GNU/Linux 12 (bookworm), linux 6.1.0"));
    EXPECT_EQ(fault.platformArchitecture, QStringLiteral("x86_64"));
    // The module file does not exist here: offsets without names, and the
    // address outside every module stays absolute.
    const QJsonArray frames = framesOf(fault);
    ASSERT_EQ(frames.size(), 3);
    EXPECT_EQ(frames[0].toObject().value(QStringLiteral("module")).toString(), QStringLiteral("veilora"));
    EXPECT_EQ(frames[0].toObject().value(QStringLiteral("offset")).toString(), QStringLiteral("0x2000"));
    EXPECT_FALSE(frames[0].toObject().contains(QStringLiteral("function")));
    EXPECT_EQ(frames[2].toObject().value(QStringLiteral("module")).toString(), QStringLiteral("?"));

    facts->hardwareFault = false;
    facts->trapNumber = -1;
    facts->signal = SIGABRT;
    facts->terminated = true;
    const CrashDiagnostic terminate = CrashDiagnostic::fromRecord(*CrashRecord::parse(encode(*facts)));
    EXPECT_FALSE(terminate.exceptionType);
    EXPECT_FALSE(terminate.exceptionCode);
    EXPECT_EQ(terminate.terminationReason, QStringLiteral("std::terminate"));

    std::memcpy(facts->exceptionType, "St12length_error", 16);
    facts->exceptionTypeLength = 16;
    std::memcpy(facts->reason, "vector", 6);
    facts->reasonLength = 6;
    EXPECT_EQ(CrashDiagnostic::fromRecord(*CrashRecord::parse(encode(*facts))).terminationReason,
              QStringLiteral("uncaught exception of type std::length_error: vector"));
}

TEST(ElfSymbols, NamesAFunctionOfThisBinaryFromAFileOffset)
{
    const auto address = reinterpret_cast<quintptr>(&crashForTesting);
    Dl_info info{};
    ASSERT_NE(dladdr(reinterpret_cast<void *>(address), &info), 0);
    const auto symbols = ElfSymbols::load(QCoreApplication::applicationFilePath());
    ASSERT_TRUE(symbols);
    EXPECT_GT(symbols->symbolCount(), 100);

    // The way the handler sees it: a mapping of the file and an offset in it.
    QFile maps(QStringLiteral("/proc/self/maps"));
    ASSERT_TRUE(maps.open(QIODevice::ReadOnly | QIODevice::Text));
    std::optional<quint64> fileOffset;
    for (const QByteArray &line : maps.readAll().split('\n')) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.size() < 6)
            continue;
        const QList<QByteArray> range = fields[0].split('-');
        const quint64 start = range[0].toULongLong(nullptr, 16);
        const quint64 end = range[1].toULongLong(nullptr, 16);
        if (address >= start && address < end)
            fileOffset = address - start + fields[2].toULongLong(nullptr, 16);
    }
    ASSERT_TRUE(fileOffset);
    const auto moduleAddress = symbols->addressOfFileOffset(*fileOffset);
    ASSERT_TRUE(moduleAddress);
    EXPECT_EQ(*moduleAddress, address - reinterpret_cast<quintptr>(info.dli_fbase));

    for (const quint64 inside : {*moduleAddress, *moduleAddress + 3}) {
        const ElfSymbols::Symbol *function = symbols->functionAt(inside);
        ASSERT_TRUE(function);
        EXPECT_EQ(demangledName(function->name),
                  QStringLiteral("veilora::crashForTesting(veilora::CrashKind)"));
    }
}

TEST(ElfSymbols, DamagedFilesYieldNoSymbolsRatherThanWrongOnes)
{
    QFile binary(QCoreApplication::applicationFilePath());
    ASSERT_TRUE(binary.open(QIODevice::ReadOnly));
    const QByteArray head = binary.read(1 << 16);
    for (const qsizetype size : {0, 4, 63, 64, 1000, 65536}) {
        const auto symbols = ElfSymbols::parse(QByteArrayView(head).first(std::min(size, head.size())));
        if (symbols) {
            EXPECT_EQ(symbols->symbolCount(), 0) << size;
        }
    }
    QByteArray notElf = head;
    notElf[1] = 'X';
    EXPECT_FALSE(ElfSymbols::parse(notElf));
    EXPECT_EQ(demangledName("main"), QStringLiteral("main"));
}

// A child with the real handler: installs it on the record path given, then
// crashes as asked, or waits to be killed from outside.
VEILORA_TEST_PEER(crash_capture)
{
    if (args.size() != 2 || !CrashCapture::install(args[0]))
        return 10;
    if (args[1] == QLatin1String("wait")) {
        QTextStream(stdout) << "ready" << Qt::endl;
        for (;;)
            QThread::sleep(1);
    }
    crashForTesting(*crashKindFromName(args[1]));
}

class CrashCaptureTest : public ::testing::Test
{
protected:
    QString recordPath() const { return m_dir.filePath(QStringLiteral("state/crash.record")); }

    std::unique_ptr<QProcess> start(const QString &kind)
    {
        auto child = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        // The sanitizers would otherwise handle the signals themselves.
        environment.insert(QStringLiteral("ASAN_OPTIONS"),
                           QStringLiteral("handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_abort=0:"
                                          "allow_user_segv_handler=1:detect_leaks=0"));
        child->setProcessEnvironment(environment);
        child->start(QCoreApplication::applicationFilePath(),
                     {QStringLiteral("--peer"), QStringLiteral("crash_capture"), recordPath(), kind});
        return child;
    }

    // The child died of the signal and left one record, nothing else.
    CrashDiagnostic consume(QProcess &child)
    {
        EXPECT_TRUE(child.waitForFinished(60000));
        EXPECT_EQ(child.exitStatus(), QProcess::CrashExit) << child.readAllStandardError().toStdString();
        EXPECT_EQ(QDir(m_dir.filePath(QStringLiteral("state"))).entryList(QDir::Files),
                  QStringList{QStringLiteral("crash.record")});
        const auto record = PendingCrash::take(recordPath());
        EXPECT_TRUE(record);
        EXPECT_FALSE(QFile::exists(recordPath()));
        return record ? CrashDiagnostic::fromRecord(*record) : CrashDiagnostic{};
    }

    QTemporaryDir m_dir;
};

TEST_F(CrashCaptureTest, AFaultLeavesARecordNamingTheFaultingFunction)
{
    const auto child = start(QStringLiteral("segv"));
    const CrashDiagnostic crash = consume(*child);
    EXPECT_EQ(crash.signal, SIGSEGV);
    EXPECT_EQ(crash.exceptionCode, SEGV_MAPERR);
#if defined(__x86_64__)
    EXPECT_EQ(crash.exceptionType, 14); // page fault
#endif
    EXPECT_FALSE(crash.terminationReason);
    EXPECT_FALSE(crash.osVersion.isEmpty());
    EXPECT_EQ(crash.platformArchitecture, QSysInfo::buildCpuArchitecture());
    const QJsonArray frames = framesOf(crash);
    ASSERT_FALSE(frames.isEmpty()) << crash.callStackJSON.toStdString();
    EXPECT_EQ(frames[0].toObject().value(QStringLiteral("function")).toString(),
              QStringLiteral("veilora::crashForTesting(veilora::CrashKind)"))
        << crash.callStackJSON.toStdString();
    EXPECT_EQ(frames[0].toObject().value(QStringLiteral("module")).toString(),
              QFileInfo(QCoreApplication::applicationFilePath()).fileName());
    EXPECT_TRUE(namesFunction(frames, QStringLiteral("veiloraPeer_crash_capture")))
        << crash.callStackJSON.toStdString();
}

TEST_F(CrashCaptureTest, AnUncaughtExceptionLeavesItsTypeAndMessage)
{
    const auto child = start(QStringLiteral("exception"));
    const CrashDiagnostic crash = consume(*child);
    EXPECT_EQ(crash.signal, SIGABRT);
    EXPECT_FALSE(crash.exceptionType);
    EXPECT_FALSE(crash.exceptionCode);
    EXPECT_EQ(crash.terminationReason,
              QStringLiteral("uncaught exception of type std::runtime_error: crash for testing: an exception "
                             "nobody catches"));
    EXPECT_TRUE(namesFunction(framesOf(crash), QStringLiteral("crashForTesting")))
        << crash.callStackJSON.toStdString();
}

TEST_F(CrashCaptureTest, ASignalFromOutsideLeavesARecordWithoutFaultFacts)
{
    const auto child = start(QStringLiteral("wait"));
    ASSERT_TRUE(waitForPeerLine(child.get(), QStringLiteral("ready"), 60000))
        << child->readAllStandardError().toStdString();
    // Nothing on disk while all is well: the record file is unnamed until a crash.
    EXPECT_TRUE(QDir(m_dir.filePath(QStringLiteral("state"))).entryList(QDir::Files).isEmpty());
    ::kill(pid_t(child->processId()), SIGSEGV);
    const CrashDiagnostic crash = consume(*child);
    EXPECT_EQ(crash.signal, SIGSEGV);
    EXPECT_FALSE(crash.exceptionType);
    EXPECT_FALSE(crash.exceptionCode);
    EXPECT_FALSE(crash.terminationReason);
    EXPECT_FALSE(framesOf(crash).isEmpty());
}
