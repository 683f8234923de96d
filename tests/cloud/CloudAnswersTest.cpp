// The cloud account and settings sync against a server whose every answer the
// test writes: the odd answers a real server seldom gives, and exact sequences.
// The keychain is the session's real Secret Service.
#include "CloudTestSupport.h"
#include "ScriptedServer.h"
#include "cloud/CloudAccount.h"
#include "cloud/CloudSync.h"
#include "cloud/SyncPayload.h"
#include "diagnostics/DebugLog.h"

#include <QFile>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QUrlQuery>

#include <iostream>

using namespace veilora;
using namespace veilora::test;
using namespace std::chrono_literals;

namespace {

const QString tokenKey = QString::fromLatin1(Keychain::tokenKey);
const QString emailKey = QString::fromLatin1(Keychain::emailKey);
const QString mePath = QStringLiteral("/api/me");
const QString tokenPath = QStringLiteral("/api/app/token");
const QString syncPath = QStringLiteral("/api/sync/veilora");

ScriptedServer *server = nullptr;

class CloudAnswers : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { server = &ScriptedServer::shared(); }

    void SetUp() override
    {
        VEILORA_REQUIRE_KEYRING();
        server->reset();
        forgetAccount();
    }

    void TearDown() override
    {
        if (HasFailure())
            std::cerr << DebugLog::tail().right(3000).toStdString() << std::endl;
    }

    // Signs in through the browser page and a callback answered with `exchange`.
    void signInAnswering(AccountUnderTest &user, ScriptedServer::Answer exchange)
    {
        server->answer("POST", tokenPath, {exchange});
        user.account->signIn();
        ASSERT_EQ(user.opened.size(), 1u);
        const QString state = QUrlQuery(user.opened.back()).queryItemValue(QStringLiteral("state"));
        user.account->handleCallback(QUrl(QStringLiteral("veilora://auth?code=c0de&state=") + state));
        ASSERT_TRUE(waitUntil([&] { return server->requestsTo("POST", tokenPath).size() == 1; }));
    }
};

TEST_F(CloudAnswers, SignInPageCarriesAFreshProofKeyAndTheExchangeProvesIt)
{
    const QRegularExpression base64url(QStringLiteral("^[A-Za-z0-9_-]+$"));
    for (int i = 0; i < 20; ++i) {
        const QString verifier = CloudAccount::randomURLBase64(32);
        EXPECT_EQ(verifier.size(), 43);
        EXPECT_TRUE(base64url.match(verifier).hasMatch()) << verifier.toStdString();
        EXPECT_EQ(CloudAccount::randomURLBase64(16).size(), 22);
    }
    // The example of RFC 7636, appendix B.
    EXPECT_EQ(CloudAccount::challenge(QStringLiteral("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk")),
              QStringLiteral("E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM"));

    AccountUnderTest user;
    signInAnswering(user, {200, R"({"token":"t-1","email":"ada@example.org"})"});
    const QUrl page = user.opened.front();
    EXPECT_EQ(page.path(), QStringLiteral("/app/connect"));
    const QList<QPair<QString, QString>> items = QUrlQuery(page).queryItems();
    ASSERT_EQ(items.size(), 3);
    EXPECT_EQ(items[0], qMakePair(QStringLiteral("app"), QStringLiteral("veilora")));
    EXPECT_EQ(items[1].first, QStringLiteral("challenge"));
    EXPECT_EQ(items[2].first, QStringLiteral("state"));
    EXPECT_EQ(items[2].second.size(), 22);

    const ScriptedServer::Request exchange = server->requestsTo("POST", tokenPath).front();
    EXPECT_EQ(exchange.contentType, "application/json");
    EXPECT_TRUE(exchange.authorization.isEmpty());
    EXPECT_FALSE(exchange.body.contains(' ')) << "compact JSON";
    const QJsonObject body = exchange.json();
    EXPECT_EQ(body.value(QStringLiteral("code")).toString(), QStringLiteral("c0de"));
    EXPECT_EQ(CloudAccount::challenge(body.value(QStringLiteral("verifier")).toString()), items[1].second);
    const QString device = body.value(QStringLiteral("deviceId")).toString();
    EXPECT_TRUE(
        QRegularExpression(QStringLiteral("^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$"))
            .match(device)
            .hasMatch())
        << device.toStdString();

    ASSERT_TRUE(waitUntil([&] { return user.account->state().signedIn; }));
    EXPECT_EQ(user.account->state().email, QStringLiteral("ada@example.org"));
    EXPECT_EQ(Keychain::get(tokenKey), QStringLiteral("t-1"));
    EXPECT_EQ(Keychain::get(emailKey), QStringLiteral("ada@example.org"));
    // The proof key's secret half and the token never reach the log or the defaults.
    const QString verifier = body.value(QStringLiteral("verifier")).toString();
    for (const QString &secret : {verifier, QStringLiteral("c0de"), QStringLiteral("t-1")}) {
        EXPECT_FALSE(DebugLog::tail().contains(secret));
        EXPECT_FALSE(QFile(UserDefaults::standardPath()).exists() && [&] {
            QFile file(UserDefaults::standardPath());
            return file.open(QIODevice::ReadOnly) && file.readAll().contains(secret.toUtf8());
        }());
    }
    // The device keeps its identifier across sign-ins.
    EXPECT_EQ(Keychain::get(QString::fromLatin1(Keychain::deviceIDKey)), device);
}

TEST_F(CloudAnswers, OnlyTheAwaitedCallbackIsTakenAndOnlyOnce)
{
    AccountUnderTest user;
    server->answer("POST", tokenPath, {{200, R"({"token":"t-2"})"}});
    user.account->handleCallback(QUrl(QStringLiteral("veilora://auth?code=x&state=y")));
    user.account->signIn();
    const QString state = QUrlQuery(user.opened.back()).queryItemValue(QStringLiteral("state"));

    for (const QString &ignored :
         {QStringLiteral("veilora://callback?code=x&state=") + state,
          QStringLiteral("veilora://auth?code=x&state=someone-else"),
          QStringLiteral("veilora://auth?state=") + state, QStringLiteral("veilora://auth?code=x")})
        user.account->handleCallback(QUrl(ignored));
    processEventsFor(300ms);
    EXPECT_TRUE(server->requests.empty());

    // The stale and foreign ones left the sign-in usable.
    const QUrl good(QStringLiteral("veilora://auth?code=x&state=") + state);
    user.account->handleCallback(good);
    ASSERT_TRUE(waitUntil([&] { return user.account->state().signedIn; }));
    EXPECT_EQ(user.account->state().email, QString()) << "no e-mail in the answer: signed in without one";
    user.account->handleCallback(good);
    processEventsFor(300ms);
    EXPECT_EQ(server->requestsTo("POST", tokenPath).size(), 1u);

    // A newer sign-in makes an older one's callback useless.
    user.account->signIn();
    user.account->signIn();
    user.account->handleCallback(QUrl(QStringLiteral("veilora://auth?code=x&state=") +
                                      QUrlQuery(user.opened[1]).queryItemValue(QStringLiteral("state"))));
    processEventsFor(300ms);
    EXPECT_EQ(server->requestsTo("POST", tokenPath).size(), 1u);
}

TEST_F(CloudAnswers, AnExchangeWithoutATokenEndsSignedOutAndTouchesNothing)
{
    for (const ScriptedServer::Answer &answer :
         {ScriptedServer::Answer{200, "{}"}, ScriptedServer::Answer{200, "<html>maintenance</html>"},
          ScriptedServer::Answer{200, R"(["token"])"}, ScriptedServer::Answer{200, R"({"token":42})"},
          ScriptedServer::Answer{400, R"({"error":"invalid_grant"})"}}) {
        Keychain::set(QStringLiteral("kept"), emailKey);
        server->reset();
        AccountUnderTest user;
        signInAnswering(user, answer);
        ASSERT_TRUE(waitUntil([&] { return !user.published.empty(); })) << answer.body.toStdString();
        EXPECT_FALSE(user.account->state().signedIn);
        EXPECT_EQ(Keychain::get(tokenKey), std::nullopt);
        EXPECT_EQ(Keychain::get(emailKey), QStringLiteral("kept"));
    }
}

TEST_F(CloudAnswers, RefreshKeepsTheStoredAccountUnlessTheServerRejectsTheToken)
{
    Keychain::set(QStringLiteral("stored"), tokenKey);
    Keychain::set(QStringLiteral("old@example.org"), emailKey);

    // Offline, a server error or an answer without an e-mail: still signed in.
    server->goOffline();
    {
        AccountUnderTest user;
        ASSERT_TRUE(user.account->state().signedIn);
        user.account->start();
        processEventsFor(500ms);
        EXPECT_EQ(user.account->state(), CloudAccount::State::signedInAs(QStringLiteral("old@example.org")));
    }
    server->reset();
    server->answer("GET", mePath, {{503, "down"}, {200, R"({"name":"no e-mail here"})"}});
    for (const QString &expected : {QStringLiteral("old@example.org"), QString()}) {
        AccountUnderTest user;
        const size_t before = server->requestsTo("GET", mePath).size();
        user.account->start();
        ASSERT_TRUE(waitUntil([&] { return server->requestsTo("GET", mePath).size() == before + 1; }));
        processEventsFor(300ms);
        EXPECT_EQ(user.account->state(), CloudAccount::State::signedInAs(expected));
    }
    EXPECT_EQ(server->requests.back().authorization, "Bearer stored");
    EXPECT_EQ(Keychain::get(emailKey), QString());

    // 401: the token is dead; forget it.
    server->answer("GET", mePath, {{401, R"({"error":"unauthorized"})"}});
    AccountUnderTest user;
    user.account->start();
    ASSERT_TRUE(waitUntil([&] { return !user.account->state().signedIn; }));
    processEventsFor(200ms);
    EXPECT_EQ(Keychain::get(tokenKey), std::nullopt);
    EXPECT_EQ(Keychain::get(emailKey), std::nullopt);
}

TEST_F(CloudAnswers, SignOutIsLocalAndImmediateAndTellsTheServerWhenItCan)
{
    server->answer("POST", QStringLiteral("/api/app/logout"), {{200, "{}"}});
    const QString device = Keychain::deviceID();
    for (const bool offline : {false, true}) {
        Keychain::set(QStringLiteral("bye"), tokenKey);
        if (offline)
            server->goOffline();
        AccountUnderTest user;
        ASSERT_TRUE(user.account->state().signedIn);
        user.account->signOut();
        EXPECT_FALSE(user.account->state().signedIn) << "at once, without waiting for the server";
        processEventsFor(500ms);
        EXPECT_EQ(Keychain::get(tokenKey), std::nullopt);
    }
    const auto notices = server->requestsTo("POST", QStringLiteral("/api/app/logout"));
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_EQ(notices.front().authorization, "Bearer bye");
    EXPECT_EQ(notices.front().body, "{}");
    EXPECT_EQ(Keychain::get(QString::fromLatin1(Keychain::deviceIDKey)), device) << "the device stays";
}

// Settings sync: one signed-in computer against the scripted resource.
class SyncAnswers : public CloudAnswers
{
protected:
    void SetUp() override
    {
        CloudAnswers::SetUp();
        if (IsSkipped() || HasFailure())
            return;
        Keychain::set(QStringLiteral("sync-token"), tokenKey);
        user = std::make_unique<AccountUnderTest>();
        sync = std::make_unique<CloudSync>(here.preferences, *user->account, here.defaults);
        QObject::connect(sync.get(), &CloudSync::statusChanged,
                         [this](CloudSync::Status status) { statuses.push_back(status); });
    }

    void startAndSettle()
    {
        sync->start();
        ASSERT_TRUE(
            waitUntil([&] { return !statuses.empty() && statuses.back() != CloudSync::Status::syncing; }));
        processEventsFor(200ms);
    }

    qint64 base() const
    {
        return here.defaults.integerValue(QString::fromLatin1(CloudSync::baseVersionKey)).value_or(0);
    }
    std::optional<QString> lastBlob() const
    {
        return here.defaults.stringValue(QString::fromLatin1(CloudSync::lastBlobKey));
    }
    static QByteArray resource(int version, const QString &blob)
    {
        return QJsonDocument(
                   QJsonObject{{QStringLiteral("version"), version}, {QStringLiteral("blob"), blob}})
            .toJson(QJsonDocument::Compact);
    }

    Computer here;
    std::unique_ptr<AccountUnderTest> user;
    std::unique_ptr<CloudSync> sync;
    std::vector<CloudSync::Status> statuses;
};

TEST_F(SyncAnswers, AnEmptyServerGetsTheLocalSnapshotAndItsVersionBecomesTheBase)
{
    for (const QByteArray &empty :
         {QByteArray("{}"), QByteArray(R"({"version":0,"blob":"x"})"), QByteArray(R"({"version":3})")}) {
        server->reset();
        here.defaults.setInteger(QString::fromLatin1(CloudSync::baseVersionKey), 2);
        server->answer("GET", syncPath, {{200, empty}});
        server->answer("PUT", syncPath, {{200, R"({"version":9})"}});
        statuses.clear();
        sync = std::make_unique<CloudSync>(here.preferences, *user->account, here.defaults);
        QObject::connect(sync.get(), &CloudSync::statusChanged,
                         [this](CloudSync::Status status) { statuses.push_back(status); });
        startAndSettle();
        const auto puts = server->requestsTo("PUT", syncPath);
        ASSERT_EQ(puts.size(), 1u) << empty.toStdString();
        EXPECT_EQ(puts[0].authorization, "Bearer sync-token");
        EXPECT_EQ(puts[0].json().value(QStringLiteral("baseVersion")).toInt(), 2);
        EXPECT_EQ(puts[0].json().value(QStringLiteral("blob")).toString(),
                  QStringLiteral("{\"graceSeconds\":10}"));
        EXPECT_EQ(base(), 9);
        EXPECT_EQ(lastBlob(), QStringLiteral("{\"graceSeconds\":10}"));
        EXPECT_EQ(sync->status(), CloudSync::Status::idle);
    }
}

TEST_F(SyncAnswers, ANewerServerCopyIsAppliedWithoutBeingSentBack)
{
    here.defaults.setInteger(QString::fromLatin1(CloudSync::baseVersionKey), 5);
    here.settings.setLanguageCode(QStringLiteral("de"));
    server->answer("GET", syncPath,
                   {{200, resource(7, QStringLiteral(R"({"graceSeconds":30,"languageCode":"ja"})"))}});
    startAndSettle();
    EXPECT_EQ(here.settings.languageCode(), QStringLiteral("ja"));
    EXPECT_EQ(here.guard.graceSeconds(), 30);
    EXPECT_EQ(base(), 7);
    processEventsFor(2500ms);
    EXPECT_TRUE(server->requestsTo("PUT", syncPath).empty()) << "applying a download uploads nothing";

    // Grace 0 is not applied; a missing language means "follow the system".
    server->answer("GET", syncPath, {{200, resource(8, QStringLiteral(R"({"graceSeconds":0})"))}});
    sync->setEnabled(false);
    sync->setEnabled(true);
    ASSERT_TRUE(waitUntil([&] { return base() == 8; }));
    EXPECT_EQ(here.settings.languageCode(), std::nullopt);
    EXPECT_EQ(here.guard.graceSeconds(), 30);

    // A blob that is no settings record changes nothing but is not tried again.
    server->answer("GET", syncPath, {{200, resource(9, QStringLiteral(R"({"languageCode":"fr"})"))}});
    sync->setEnabled(true);
    ASSERT_TRUE(waitUntil([&] { return base() == 9; }));
    EXPECT_EQ(here.settings.languageCode(), std::nullopt);
    EXPECT_EQ(lastBlob(), QStringLiteral(R"({"languageCode":"fr"})"));
}

TEST_F(SyncAnswers, AnEqualServerVersionUploadsOnlyWhatChangedMeanwhile)
{
    const QString current = SyncPayload{std::nullopt, 10}.blob();
    here.defaults.setInteger(QString::fromLatin1(CloudSync::baseVersionKey), 5);
    here.defaults.setString(QString::fromLatin1(CloudSync::lastBlobKey), current);
    server->answer("GET", syncPath, {{200, resource(5, current)}});
    server->answer("PUT", syncPath, {{200, R"({"version":6})"}});
    startAndSettle();
    EXPECT_TRUE(server->requestsTo("PUT", syncPath).empty());
    EXPECT_EQ(sync->status(), CloudSync::Status::idle);

    // A grace change made while offline goes out with the next pass, on base 5.
    here.guard.setGraceSeconds(45);
    sync->setEnabled(true);
    ASSERT_TRUE(waitUntil([&] { return base() == 6; }));
    const auto puts = server->requestsTo("PUT", syncPath);
    ASSERT_EQ(puts.size(), 1u);
    EXPECT_EQ(puts[0].json().value(QStringLiteral("baseVersion")).toInt(), 5);
    EXPECT_EQ(puts[0].json().value(QStringLiteral("blob")).toString(),
              QStringLiteral("{\"graceSeconds\":45}"));
}

TEST_F(SyncAnswers, ABurstOfChangesMakesOneUploadTwoSecondsAfterTheLast)
{
    server->answer("GET", syncPath, {{200, resource(1, SyncPayload{std::nullopt, 10}.blob())}});
    server->answer("PUT", syncPath, {{200, R"({"version":2})"}});
    startAndSettle();
    ASSERT_EQ(base(), 1);

    here.settings.setLanguageCode(QStringLiteral("fr"));
    processEventsFor(1000ms);
    here.settings.setLanguageCode(QStringLiteral("it"));
    const qint64 last = server->nowMs();
    ASSERT_TRUE(waitUntil([&] { return !server->requestsTo("PUT", syncPath).empty(); }, 5s));
    processEventsFor(500ms);
    const auto puts = server->requestsTo("PUT", syncPath);
    ASSERT_EQ(puts.size(), 1u);
    EXPECT_GE(puts[0].atMs - last, 1900);
    EXPECT_EQ(puts[0].json().value(QStringLiteral("blob")).toString(),
              QStringLiteral(R"({"graceSeconds":10,"languageCode":"it"})"));
    EXPECT_EQ(base(), 2);

    // A change that leaves the snapshot as uploaded (start at login) sends nothing.
    here.settings.setLaunchAtLogin(false);
    processEventsFor(2500ms);
    EXPECT_EQ(server->requestsTo("PUT", syncPath).size(), 1u);

    // An answer without a version keeps the base and records the blob.
    server->answer("PUT", syncPath, {{200, "{}"}});
    here.settings.setLanguageCode(QStringLiteral("nl"));
    ASSERT_TRUE(waitUntil([&] { return server->requestsTo("PUT", syncPath).size() == 2; }, 5s));
    processEventsFor(200ms);
    EXPECT_EQ(base(), 2);
    EXPECT_EQ(lastBlob(), QStringLiteral(R"({"graceSeconds":10,"languageCode":"nl"})"));
}

TEST_F(SyncAnswers, AStaleUploadTakesTheServerCopyEvenWhenItIsNotNewer)
{
    server->answer("GET", syncPath,
                   {{200, resource(1, SyncPayload{std::nullopt, 10}.blob())},
                    {200, resource(1, QStringLiteral(R"({"graceSeconds":20,"languageCode":"ko"})"))}});
    server->answer("PUT", syncPath, {{409, R"({"error":"conflict","version":1})"}});
    startAndSettle();
    here.settings.setLanguageCode(QStringLiteral("pl"));
    ASSERT_TRUE(waitUntil([&] { return server->requestsTo("GET", syncPath).size() == 2; }, 5s));
    ASSERT_TRUE(waitUntil([&] { return sync->status() == CloudSync::Status::idle; }));
    EXPECT_EQ(here.settings.languageCode(), QStringLiteral("ko"));
    EXPECT_EQ(here.guard.graceSeconds(), 20);
}

TEST_F(SyncAnswers, FailuresSetTheStatusAndNeverSignOut)
{
    // 401 on download: quietly idle. 404: an error, and nothing uploaded.
    server->answer("GET", syncPath, {{401, "{}"}});
    startAndSettle();
    EXPECT_EQ(sync->status(), CloudSync::Status::idle);
    server->answer("GET", syncPath, {{404, "not here"}});
    sync->setEnabled(true);
    ASSERT_TRUE(waitUntil([&] { return sync->status() == CloudSync::Status::error; }));
    EXPECT_TRUE(server->requestsTo("PUT", syncPath).empty());

    // 401 on upload: an error.
    server->answer("GET", syncPath, {{200, "{}"}});
    server->answer("PUT", syncPath, {{401, "{}"}});
    sync->setEnabled(true);
    ASSERT_TRUE(waitUntil([&] { return !server->requestsTo("PUT", syncPath).empty(); }));
    ASSERT_TRUE(waitUntil([&] { return sync->status() == CloudSync::Status::error; }));
    EXPECT_TRUE(user->account->state().signedIn);
    EXPECT_EQ(Keychain::get(tokenKey), QStringLiteral("sync-token"));
    EXPECT_EQ(base(), 0);
}

TEST_F(SyncAnswers, SwitchedOffNothingMovesAndSwitchingOnDownloadsAtOnce)
{
    sync->setEnabled(false);
    EXPECT_EQ(here.defaults.boolValue(QString::fromLatin1(CloudSync::enabledKey)), false);
    server->answer("GET", syncPath, {{200, "{}"}});
    server->answer("PUT", syncPath, {{200, R"({"version":1})"}});
    sync->start();
    here.settings.setLanguageCode(QStringLiteral("tr"));
    Q_EMIT user->account->stateChanged(user->account->state());
    processEventsFor(2500ms);
    EXPECT_TRUE(server->requests.empty());
    EXPECT_TRUE(statuses.empty());

    sync->setEnabled(true);
    ASSERT_TRUE(waitUntil([&] { return !server->requestsTo("GET", syncPath).empty(); }, 1s));
    EXPECT_TRUE(CloudSync(here.preferences, *user->account, here.defaults).enabled()) << "the switch is kept";
}

} // namespace
