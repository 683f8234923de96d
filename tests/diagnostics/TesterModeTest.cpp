// Tester mode: the hidden gesture on the real sidebar icon, and uploads that a
// real veilora-server receives, with the debug log's tail and this process's
// journal entries (the test session runs a journal where none runs).
#include "diagnostics/TesterMode.h"

#include "app/DiagnosticsParts.h"
#include "diagnostics/DebugLog.h"
#include "platform/ProcessJournal.h"
#include "platform/UserDefaults.h"
#include "settings/AppSettings.h"
#include "settings/RecordingGuard.h"
#include "settings/SettingsWindow.h"
#include "settings/SettingsWindowController.h"
#include "settings/TesterModeIcon.h"
#include "support/FakeLoginItem.h"
#include "support/RealInput.h"
#include "support/TestServer.h"
#include "support/TestSupport.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace veilora;
using namespace veilora::test;
using namespace std::chrono_literals;

namespace {

using Clock = TesterGesture::Clock;

TEST(TesterGestureTest, EightClicksEachWithinTwoSecondsSwitch)
{
    TesterGesture gesture;
    Clock::time_point now{};
    for (int i = 1; i < 8; ++i) {
        EXPECT_FALSE(gesture.click(now += 1900ms)) << i;
    }
    EXPECT_TRUE(gesture.click(now += 1900ms)) << "the eighth";
    EXPECT_EQ(gesture.clicks(), 0);

    // A pause of more than two seconds after the fourth starts the count again.
    for (int i = 0; i < 4; ++i)
        gesture.click(now += 100ms);
    EXPECT_FALSE(gesture.click(now += 2001ms));
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(gesture.click(now += 100ms));
    EXPECT_EQ(gesture.clicks(), 4);
}

TEST(TesterLogTest, TheTextKeepsItsEndWhenTooLong)
{
    const QDateTime since(QDate(2026, 11, 16), QTime(20, 22, 33), Qt::UTC);
    const QString short_ = TesterMode::logText(QStringLiteral("tail"), since, QStringLiteral("journal"));
    EXPECT_EQ(short_, QStringLiteral("== app log (DebugLog) ==\ntail\n\n== unified log (own process, since "
                                     "2026-11-16 20:22:33 +0000) ==\njournal"));
    // 800,000 bytes: the last 700,000 characters stay.
    const QString tail(800000, QLatin1Char('a'));
    const QString cut = TesterMode::logText(tail, since, QStringLiteral("END"));
    EXPECT_EQ(cut.size(), TesterMode::maxLogCharacters);
    EXPECT_TRUE(cut.endsWith(QStringLiteral("END")));
    EXPECT_FALSE(cut.contains(QStringLiteral("== app log")));
}

bool journalRuns()
{
    return QFileInfo(QStringLiteral("/run/systemd/journal/socket")).exists();
}

TEST(ProcessJournalTest, ExportsThisProcessesEntriesSinceATimeAtMostTheLimit)
{
    if (!journalRuns()) {
        if (inTestSession() && geteuid() == 0)
            FAIL() << "the test session starts a journal";
        GTEST_SKIP() << "no journal here";
    }
    const QDateTime since = QDateTime::currentDateTimeUtc().addSecs(-1);
    for (int i = 0; i < 4100; ++i)
        ProcessJournal::write(QStringLiteral("probe"), QStringLiteral("line %1").arg(i));
    QString text;
    // The journal stores asynchronously.
    ASSERT_TRUE(waitUntil([&] {
        text = ProcessJournal::exportSince(since, TesterMode::maxJournalLines);
        return text.count(QLatin1Char('\n')) + 1 >= TesterMode::maxJournalLines;
    }));
    const QStringList lines = text.split(QLatin1Char('\n'));
    EXPECT_EQ(lines.size(), TesterMode::maxJournalLines);
    EXPECT_TRUE(lines.first().endsWith(QStringLiteral(" [probe] line 0"))) << lines.first().toStdString();
    EXPECT_FALSE(text.contains(QStringLiteral("line 4099")));
    EXPECT_TRUE(ProcessJournal::exportSince(QDateTime::currentDateTimeUtc().addSecs(60), 10).isEmpty());
}

class TesterModeTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!ensureWindowManager()) {
            if (inTestSession())
                FAIL() << "the test session has an X server and openbox";
            GTEST_SKIP() << "needs an X display";
        }
        QString error;
        ASSERT_TRUE(server.start(&error)) << error.toStdString();
        qputenv("VEILORA_SERVER_URL", server.baseUrl().toString().toUtf8());
        qputenv("VEILORA_SERVER_CA", server.caCertificatePath().toUtf8());
    }

    // The bodies of the uploads the server stored.
    QList<QJsonObject> uploads()
    {
        QSqlDatabase db =
            QSqlDatabase::contains(QStringLiteral("testlogs"))
                ? QSqlDatabase::database(QStringLiteral("testlogs"))
                : QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("testlogs"));
        db.setDatabaseName(server.databaseUrl().mid(int(qstrlen("sqlite:"))));
        QList<QJsonObject> bodies;
        if (!db.open())
            return bodies;
        QSqlQuery query(QStringLiteral("SELECT body FROM test_logs ORDER BY id"), db);
        while (query.next())
            bodies << QJsonDocument::fromJson(query.value(0).toByteArray()).object();
        return bodies;
    }

    TestServer server;
};

TEST_F(TesterModeTest, EightClicksOnTheSidebarIconSwitchItAndEachSwitchUploads)
{
    // Something of this process in the journal before the mode goes on (the
    // journal stores asynchronously, so the switch's own line may come late),
    // and the export window starting just before it.
    QTemporaryDir folder;
    UserDefaults defaults(folder.filePath(QStringLiteral("defaults.json")));
    const QDateTime windowStart = QDateTime::currentDateTimeUtc();
    defaults.setDate(QString::fromLatin1(TesterMode::lastExportKey), windowStart);
    if (journalRuns()) {
        ProcessJournal::write(QStringLiteral("probe"), QStringLiteral("before the switch"));
        ASSERT_TRUE(waitUntil([&] {
            return ProcessJournal::exportSince(windowStart, TesterMode::maxJournalLines)
                .contains(QStringLiteral("before the switch"));
        }));
    }
    TesterMode mode(defaults);
    TesterModeModel model(mode);
    RecordingGuard guard;
    FakeLoginItem loginItem;
    AppSettings settings(defaults, loginItem);
    SettingsWindowController controller(
        SettingsServices{&guard, &settings, {}, nullptr, {}, nullptr, &model});
    controller.show(SettingsTab::general);
    TesterModeIcon *icon = nullptr;
    ASSERT_TRUE(waitUntil([&] {
        icon = controller.window() ? controller.window()->findChild<TesterModeIcon *>() : nullptr;
        return icon && controller.window()->isActiveWindow();
    }));
    processEventsFor(200ms);

    for (int i = 0; i < 7; ++i)
        click(icon);
    processEventsFor(300ms);
    EXPECT_FALSE(mode.enabled()) << "seven clicks are not enough";
    click(icon);
    ASSERT_TRUE(waitUntil([&] { return mode.enabled(); }));
    EXPECT_EQ(defaults.boolValue(QString::fromLatin1(TesterMode::enabledKey)), true);
    const QImage on = icon->grab().toImage();
    EXPECT_EQ(on.pixelColor(on.width() / 2, 1), QColor(Qt::red)) << "the red outline shows it";

    ASSERT_TRUE(waitUntil([&] { return uploads().size() == 1; }));
    const QJsonObject body = uploads().front();
    EXPECT_EQ(body.keys(),
              (QStringList{QStringLiteral("app"), QStringLiteral("appVersion"), QStringLiteral("build"),
                           QStringLiteral("installID"), QStringLiteral("log"), QStringLiteral("osVersion"),
                           QStringLiteral("type")}));
    EXPECT_EQ(body.value(QStringLiteral("type")).toString(), QStringLiteral("testlog"));
    const QString log = body.value(QStringLiteral("log")).toString();
    EXPECT_TRUE(log.startsWith(QStringLiteral("== app log (DebugLog) ==\n")));
    EXPECT_TRUE(log.contains(QStringLiteral(" tester: mode ON\n"))) << "the debug log's tail";
    if (journalRuns()) {
        EXPECT_TRUE(log.contains(QStringLiteral("[probe] before the switch"))) << "the journal's lines";
    }
    EXPECT_LE(mode.lastExport().secsTo(QDateTime::currentDateTimeUtc()), 5);

    // Switching off uploads once more, with the log up to the switch.
    for (int i = 0; i < 8; ++i)
        click(icon);
    ASSERT_TRUE(waitUntil([&] { return !mode.enabled(); }));
    ASSERT_TRUE(waitUntil([&] { return uploads().size() == 2; }));
    EXPECT_TRUE(uploads()
                    .back()
                    .value(QStringLiteral("log"))
                    .toString()
                    .contains(QStringLiteral("tester: mode OFF")));

    // A restart with the mode on uploads at start; with it off, nothing.
    TesterMode off(defaults);
    off.start();
    processEventsFor(500ms);
    EXPECT_EQ(uploads().size(), 2);
    defaults.setBool(QString::fromLatin1(TesterMode::enabledKey), true);
    TesterMode restarted(defaults);
    restarted.start();
    ASSERT_TRUE(waitUntil([&] { return uploads().size() == 3; }));
    EXPECT_TRUE(uploads()
                    .back()
                    .value(QStringLiteral("log"))
                    .toString()
                    .contains(QStringLiteral("tester: session start (v")));
    controller.window()->close();
}

} // namespace
