// The real application crashes, starts again and reports to a real
// veilora-server over TLS on loopback: once, and only when allowed.
//
// The application runs with a home, a session bus and the offscreen platform of
// its own. The test build's AddressSanitizer would catch SIGSEGV itself and exit
// without the signal, so the child runs with ASan's signal handling off.
#include "platform/BundleInfo.h"
#include "platform/crash/CrashForTesting.h"
#include "support/TestServer.h"
#include "support/TestSupport.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <sys/prctl.h>

using namespace veilora;
using namespace veilora::test;
using namespace std::chrono_literals;

namespace {

class CrashJourney : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QString error;
        ASSERT_TRUE(m_server.start(&error)) << error.toStdString();
        m_bus.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
        m_bus.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                                    QStringLiteral("--print-address=1")});
        ASSERT_TRUE(m_bus.waitForReadyRead(10000)) << "dbus-daemon did not start";
        m_busAddress = QString::fromUtf8(m_bus.readLine().trimmed());
        for (const char *folder : {"config", "data", "cache", "state", "runtime"})
            QDir().mkpath(m_home.filePath(QString::fromLatin1(folder)));
        QFile::setPermissions(m_home.filePath(QStringLiteral("runtime")),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    void TearDown() override
    {
        QDBusConnection::disconnectFromBus(m_busAddress);
        m_bus.kill();
        m_bus.waitForFinished();
    }

    QProcessEnvironment environment(const QString &crash = {}) const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        const QString home = m_home.path();
        env.insert(QStringLiteral("HOME"), home);
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
        env.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
        env.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/cache"));
        env.insert(QStringLiteral("XDG_STATE_HOME"), home + QStringLiteral("/state"));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), home + QStringLiteral("/runtime"));
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_busAddress);
        env.remove(QStringLiteral("DISPLAY"));
        env.remove(QStringLiteral("WAYLAND_DISPLAY"));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("VEILORA_SERVER_URL"), m_server.baseUrl().toString());
        env.insert(QStringLiteral("VEILORA_SERVER_CA"), m_server.caCertificatePath());
        env.insert(QStringLiteral("ASAN_OPTIONS"),
                   QStringLiteral("handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_abort=0:"
                                  "allow_user_segv_handler=1:detect_leaks=0"));
        env.remove(QString::fromLatin1(crashForTestingVariable));
        if (!crash.isEmpty())
            env.insert(QString::fromLatin1(crashForTestingVariable), crash);
        return env;
    }

    std::unique_ptr<QProcess> startApp(const QString &crash = {})
    {
        auto app = std::make_unique<QProcess>();
        app->setProcessEnvironment(environment(crash));
        app->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
        app->start(QStringLiteral(VEILORA_APP_EXECUTABLE), {});
        return app;
    }

    void crashWith(const QString &kind)
    {
        const auto app = startApp(kind);
        ASSERT_TRUE(app->waitForFinished(120000));
        ASSERT_EQ(app->exitStatus(), QProcess::CrashExit)
            << app->readAllStandardError().right(3000).toStdString();
        ASSERT_TRUE(QFile::exists(recordPath()));
    }

    void runCommand(const QStringList &arguments)
    {
        QProcess command;
        command.setProcessEnvironment(environment());
        command.start(QStringLiteral(VEILORA_APP_EXECUTABLE), arguments);
        ASSERT_TRUE(command.waitForFinished(60000));
        ASSERT_EQ(command.exitCode(), 0) << command.readAllStandardError().toStdString();
    }

    bool appIsUp() const
    {
        QDBusConnection bus = QDBusConnection::connectToBus(m_busAddress, m_busAddress);
        return bus.isConnected() &&
               bus.interface()->isServiceRegistered(QStringLiteral("com.norvane.Veilora"));
    }

    void stop(QProcess &app)
    {
        app.kill();
        app.waitForFinished();
        waitUntil([this] { return !appIsUp(); });
    }

    QString recordPath() const { return m_home.filePath(QStringLiteral("state/veilora/crash.record")); }

    QList<QJsonObject> reports() const
    {
        QList<QJsonObject> found;
        const QString connection = QStringLiteral("crash-journey-db");
        {
            QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
            db.setDatabaseName(m_server.databaseUrl().mid(int(qstrlen("sqlite:"))));
            if (db.open()) {
                QSqlQuery query(db);
                if (query.exec(QStringLiteral("SELECT body FROM crash_reports ORDER BY id"))) {
                    while (query.next())
                        found.append(QJsonDocument::fromJson(query.value(0).toString().toUtf8()).object());
                }
            }
        }
        QSqlDatabase::removeDatabase(connection);
        return found;
    }

    // Starts the application and waits until `count` reports in all are stored.
    QList<QJsonObject> startAndAwaitReports(qsizetype count)
    {
        const auto app = startApp();
        const bool arrived = waitUntil([&] { return reports().size() >= count; }, 120s);
        EXPECT_TRUE(arrived) << app->readAllStandardError().right(3000).toStdString();
        EXPECT_FALSE(QFile::exists(recordPath()));
        stop(*app);
        return reports();
    }

    TestServer m_server;
    QProcess m_bus;
    QString m_busAddress;
    QTemporaryDir m_home;
};

bool hasEveryMember(const QJsonObject &report)
{
    for (const char *member :
         {"type", "app", "installID", "appVersion", "build", "osVersion", "arch", "callStack"}) {
        if (!report.contains(QString::fromLatin1(member)))
            return false;
    }
    return report.value(QStringLiteral("type")).toString() == QStringLiteral("crash") &&
           report.value(QStringLiteral("app")).toString() == QStringLiteral("veilora");
}

} // namespace

TEST_F(CrashJourney, EachCrashArrivesOnceAtTheNextStart)
{
    crashWith(QStringLiteral("segv"));
    QList<QJsonObject> stored = startAndAwaitReports(1);
    ASSERT_EQ(stored.size(), 1);
    const QJsonObject segv = stored[0];
    EXPECT_TRUE(hasEveryMember(segv)) << QJsonDocument(segv).toJson().toStdString();
    EXPECT_EQ(segv.value(QStringLiteral("signal")), QJsonValue(SIGSEGV));
    EXPECT_EQ(segv.value(QStringLiteral("exceptionCode")), QJsonValue(SEGV_MAPERR));
    EXPECT_TRUE(
        segv.value(QStringLiteral("callStack")).toString().contains(QStringLiteral("crashForTesting")))
        << segv.value(QStringLiteral("callStack")).toString().toStdString();
    EXPECT_TRUE(
        QJsonDocument::fromJson(segv.value(QStringLiteral("callStack")).toString().toUtf8()).isObject());

    // A start without a crash, then a signal from outside while it runs: the
    // next start sends that crash and nothing for the quiet start.
    auto running = startApp();
    ASSERT_TRUE(waitUntil([this] { return appIsUp(); }, 60s))
        << running->readAllStandardError().toStdString();
    ::kill(pid_t(running->processId()), SIGSEGV);
    ASSERT_TRUE(running->waitForFinished(60000));
    EXPECT_EQ(running->exitStatus(), QProcess::CrashExit);
    ASSERT_TRUE(QFile::exists(recordPath()));
    waitUntil([this] { return !appIsUp(); });
    stored = startAndAwaitReports(2);
    ASSERT_EQ(stored.size(), 2);
    const QJsonObject killed = stored[1];
    EXPECT_TRUE(hasEveryMember(killed));
    EXPECT_EQ(killed.value(QStringLiteral("signal")), QJsonValue(SIGSEGV));
    EXPECT_FALSE(killed.contains(QStringLiteral("exceptionCode")));
    EXPECT_FALSE(killed.contains(QStringLiteral("terminationReason")));
    EXPECT_EQ(killed.value(QStringLiteral("installID")), segv.value(QStringLiteral("installID")));

    crashWith(QStringLiteral("exception"));
    stored = startAndAwaitReports(3);
    ASSERT_EQ(stored.size(), 3);
    EXPECT_EQ(stored[2].value(QStringLiteral("signal")), QJsonValue(SIGABRT));
    EXPECT_EQ(stored[2].value(QStringLiteral("terminationReason")).toString(),
              QStringLiteral("uncaught exception of type std::runtime_error: crash for testing: an exception "
                             "nobody catches"));
}

TEST_F(CrashJourney, WithReportingOffTheRecordIsConsumedAndNothingSent)
{
    runCommand({QStringLiteral("--defaults"), QStringLiteral("write"),
                QStringLiteral("crashReportingEnabled"), QStringLiteral("-bool"), QStringLiteral("false")});
    crashWith(QStringLiteral("segv"));
    auto quiet = startApp();
    ASSERT_TRUE(waitUntil([this] { return !QFile::exists(recordPath()); }, 120s))
        << quiet->readAllStandardError().right(3000).toStdString();
    stop(*quiet);

    // Switched on again, the next crash arrives alone: the one before was dropped.
    runCommand({QStringLiteral("--defaults"), QStringLiteral("write"),
                QStringLiteral("crashReportingEnabled"), QStringLiteral("-bool"), QStringLiteral("true")});
    crashWith(QStringLiteral("abort"));
    const QList<QJsonObject> stored = startAndAwaitReports(1);
    ASSERT_EQ(stored.size(), 1);
    EXPECT_EQ(stored[0].value(QStringLiteral("signal")), QJsonValue(SIGABRT));
}

TEST_F(CrashJourney, AGarbageRecordIsDroppedAndTheApplicationRuns)
{
    QDir().mkpath(QFileInfo(recordPath()).path());
    QFile record(recordPath());
    ASSERT_TRUE(record.open(QIODevice::WriteOnly));
    record.write("VLCRASH\0 half a record", 22);
    record.close();
    auto app = startApp();
    ASSERT_TRUE(waitUntil([this] { return !QFile::exists(recordPath()) && appIsUp(); }, 120s))
        << app->readAllStandardError().right(3000).toStdString();
    EXPECT_EQ(app->state(), QProcess::Running);
    const QString logFolder = BundleInfo::main().identifier().value_or(QStringLiteral("Veilora"));
    QFile log(m_home.filePath(QStringLiteral("data/") + logFolder + QStringLiteral("/tester.log")));
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    EXPECT_EQ(log.readAll().count("unreadable crash record"), 1);
    stop(*app);
    EXPECT_TRUE(reports().isEmpty());
}
