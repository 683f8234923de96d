// What the crash reporter makes of the diagnostics it receives, and when it
// stays silent.
#include "diagnostics/CrashReporter.h"

#include "platform/UserDefaults.h"
#include "platform/crash/CrashRecord.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThreadPool>

#include <gtest/gtest.h>
#include <memory>

using namespace veilora;

namespace {

const QString enabledKey = QString::fromLatin1(CrashConfig::reportingEnabledKey);
const QString installKey = QString::fromLatin1(CrashConfig::installIDKey);

CrashDiagnostic
plainDiagnostic(const QString &os = QStringLiteral("Debian GNU/Linux 12 (bookworm), linux 6.1"))
{
    CrashDiagnostic diagnostic;
    diagnostic.osVersion = os;
    diagnostic.platformArchitecture = QStringLiteral("x86_64");
    diagnostic.callStackJSON = R"({"frames":[{"module":"veilora","offset":"0x10"}]})";
    return diagnostic;
}

BundleInfo bundle(bool withShortVersion = true)
{
    QVariantMap info{{QString::fromLatin1(BundleInfo::buildVersionKey), QStringLiteral("42")}};
    if (withShortVersion)
        info.insert(QString::fromLatin1(BundleInfo::shortVersionKey), QStringLiteral("1.2.3"));
    return BundleInfo(info);
}

class CrashReporterTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        UserDefaults::standard().remove(enabledKey);
        UserDefaults::standard().remove(installKey);
    }

    CrashReporter::Sender recorder()
    {
        return [this](const QJsonObject &report) { m_sent.append(report); };
    }

    QList<QJsonObject> m_sent;
};

} // namespace

TEST_F(CrashReporterTest, APlainDiagnosticMakesExactlyTheEightMembers)
{
    CrashReporter reporter(bundle(), recorder());
    CrashDiagnostic diagnostic = plainDiagnostic();
    reporter.didReceive({DiagnosticPayload{{diagnostic}}});
    ASSERT_EQ(m_sent.size(), 1);
    const QJsonObject report = m_sent[0];
    EXPECT_EQ(report.keys(), (QStringList{"app", "appVersion", "arch", "build", "callStack", "installID",
                                          "osVersion", "type"}));
    EXPECT_EQ(report.value(QStringLiteral("type")).toString(), QStringLiteral("crash"));
    EXPECT_EQ(report.value(QStringLiteral("app")).toString(), QStringLiteral("veilora"));
    EXPECT_EQ(report.value(QStringLiteral("appVersion")).toString(), QStringLiteral("1.2.3"));
    EXPECT_EQ(report.value(QStringLiteral("build")).toString(), QStringLiteral("42"));
    EXPECT_EQ(report.value(QStringLiteral("arch")).toString(), QStringLiteral("x86_64"));
    // A JSON document carried as text, not a nested object.
    EXPECT_EQ(report.value(QStringLiteral("callStack")).toString(),
              QString::fromUtf8(diagnostic.callStackJSON));

    diagnostic.signal = 11;
    diagnostic.exceptionType = 14;
    diagnostic.exceptionCode = 2;
    diagnostic.terminationReason =
        QStringLiteral("uncaught exception of type std::bad_alloc: std::bad_alloc");
    reporter.didReceive({DiagnosticPayload{{diagnostic}}});
    ASSERT_EQ(m_sent.size(), 2);
    const QJsonObject full = m_sent[1];
    EXPECT_EQ(full.size(), 12);
    EXPECT_EQ(full.value(QStringLiteral("signal")), QJsonValue(11));
    EXPECT_EQ(full.value(QStringLiteral("exceptionType")), QJsonValue(14));
    EXPECT_EQ(full.value(QStringLiteral("exceptionCode")), QJsonValue(2));
    EXPECT_EQ(full.value(QStringLiteral("terminationReason")).toString(), *diagnostic.terminationReason);
}

TEST_F(CrashReporterTest, MissingVersionsAndAnUnreadableCallStackStillMakeAReport)
{
    CrashReporter reporter(bundle(false), recorder());
    CrashDiagnostic diagnostic = plainDiagnostic();
    diagnostic.callStackJSON = QByteArray("{\"frames\":[\"\xff\xfe\"]}");
    reporter.didReceive({DiagnosticPayload{{diagnostic}}});
    ASSERT_EQ(m_sent.size(), 1);
    EXPECT_EQ(m_sent[0].value(QStringLiteral("appVersion")).toString(), QStringLiteral("?"));
    EXPECT_EQ(m_sent[0].value(QStringLiteral("build")).toString(), QStringLiteral("42"));
    EXPECT_EQ(m_sent[0].value(QStringLiteral("callStack")), QJsonValue(QString()));
}

TEST_F(CrashReporterTest, OnlyABooleanFalseSwitchesReportingOff)
{
    CrashReporter reporter(bundle(), recorder());
    const QList<DiagnosticPayload> one{DiagnosticPayload{{plainDiagnostic()}}};
    reporter.didReceive(one);
    EXPECT_EQ(m_sent.size(), 1);

    UserDefaults::standard().setBool(enabledKey, false);
    EXPECT_FALSE(CrashConfig::reportingEnabled());
    reporter.didReceive(one);
    EXPECT_EQ(m_sent.size(), 1);

    UserDefaults::standard().setString(enabledKey, QStringLiteral("false"));
    reporter.didReceive(one);
    EXPECT_EQ(m_sent.size(), 2);
    UserDefaults::standard().setInteger(enabledKey, 0);
    reporter.didReceive(one);
    EXPECT_EQ(m_sent.size(), 3);
}

TEST_F(CrashReporterTest, EveryCrashOfEveryPayloadInOrderAndNothingElse)
{
    CrashReporter reporter(bundle(), recorder());
    reporter.didReceive(
        {DiagnosticPayload{{plainDiagnostic(QStringLiteral("a")), plainDiagnostic(QStringLiteral("b"))}},
         DiagnosticPayload{}, DiagnosticPayload{{plainDiagnostic(QStringLiteral("c"))}}});
    ASSERT_EQ(m_sent.size(), 3);
    EXPECT_EQ(m_sent[0].value(QStringLiteral("osVersion")).toString(), QStringLiteral("a"));
    EXPECT_EQ(m_sent[1].value(QStringLiteral("osVersion")).toString(), QStringLiteral("b"));
    EXPECT_EQ(m_sent[2].value(QStringLiteral("osVersion")).toString(), QStringLiteral("c"));
}

TEST_F(CrashReporterTest, TheInstallIdentifierIsMadeOnceAndKept)
{
    EXPECT_FALSE(UserDefaults::standard().contains(installKey));
    CrashReporter reporter(bundle(), recorder());
    reporter.didReceive({DiagnosticPayload{{plainDiagnostic(), plainDiagnostic()}}});
    ASSERT_EQ(m_sent.size(), 2);
    const QString id = m_sent[0].value(QStringLiteral("installID")).toString();
    EXPECT_TRUE(
        QRegularExpression(QStringLiteral("^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$"))
            .match(id)
            .hasMatch())
        << id.toStdString();
    EXPECT_EQ(m_sent[1].value(QStringLiteral("installID")).toString(), id);
    // Kept on disk, for the next run.
    EXPECT_EQ(UserDefaults(UserDefaults::standardPath()).stringValue(installKey), id);
}

TEST_F(CrashReporterTest, SubscribingConsumesTheRecordEvenWhenReportingIsOff)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("crash.record"));
    auto facts = std::make_unique<CrashFacts>();
    facts->signal = 6;
    QByteArray record(qsizetype(maxCrashRecordBytes), '\0');
    record.truncate(qsizetype(encodeCrashRecord(*facts, reinterpret_cast<unsigned char *>(record.data()),
                                                std::size_t(record.size()))));
    const auto writeRecord = [&](const QByteArray &bytes) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    };
    CrashReporter reporter(bundle(), recorder());

    UserDefaults::standard().setBool(enabledKey, false);
    writeRecord(record);
    reporter.subscribe(path);
    QThreadPool::globalInstance()->waitForDone();
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_TRUE(m_sent.isEmpty());

    UserDefaults::standard().setBool(enabledKey, true);
    writeRecord(QByteArray("garbage that no crash ever wrote"));
    reporter.subscribe(path);
    QThreadPool::globalInstance()->waitForDone();
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_TRUE(m_sent.isEmpty());

    writeRecord(record);
    reporter.subscribe(path);
    QThreadPool::globalInstance()->waitForDone();
    ASSERT_EQ(m_sent.size(), 1);
    EXPECT_EQ(m_sent[0].value(QStringLiteral("signal")), QJsonValue(6));
}
