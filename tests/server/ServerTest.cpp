// The server as the app and the browser meet it: a real veilora-server process
// over TLS, on SQLite or PostgreSQL.
#include "ServerFixture.h"
#include "support/TestBrowser.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QUrlQuery>

namespace veilora::test {

namespace {

const QString alice = QStringLiteral("alice@example.com");
const QString alicePassword = QStringLiteral("alice-correct-horse-7f3a91");
const QString bob = QStringLiteral("bob@example.com");
const QString bobPassword = QStringLiteral("bob-battery-staple-c4e2d8");

QByteArray json(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray upload(const QString &blob, qint64 baseVersion)
{
    return json({{QStringLiteral("blob"), blob},
                 {QStringLiteral("baseVersion"), baseVersion},
                 {QStringLiteral("deviceId"), QStringLiteral("device-1")}});
}

} // namespace

TEST_F(ServerTest, BrowserSignInHandsTheAppACodeThatBuysAToken)
{
    TestServer *server = startServer();
    ASSERT_TRUE(server);
    addUser(*server, alice, alicePassword);
    const Pkce pkce = newPkce();

    // The e-mail is matched without regard to case and surrounding blanks.
    const BrowserResult result =
        signInThroughPage(connectUrl(*server, pkce), QStringLiteral("  Alice@Example.COM "), alicePassword);
    ASSERT_EQ(result.status, 302) << qPrintable(result.body);
    EXPECT_EQ(result.location.scheme(), QStringLiteral("veilora"));
    EXPECT_EQ(result.location.host(), QStringLiteral("auth"));
    const QUrlQuery query(result.location);
    EXPECT_EQ(query.queryItemValue(QStringLiteral("state"), QUrl::FullyDecoded), pkce.state);
    const QString code = query.queryItemValue(QStringLiteral("code"), QUrl::FullyDecoded);
    ASSERT_EQ(code.size(), 43);
    remember(code);
    // The database keeps only a hash of the code.
    EXPECT_EQ(countRows(QStringLiteral("auth_codes")), 1);

    const HttpResponse token = exchange(*server, code, pkce.verifier);
    ASSERT_EQ(token.status, 200) << token.body.constData();
    EXPECT_EQ(token.contentType, QByteArray("application/json"));
    EXPECT_EQ(token.json.value(QStringLiteral("email")).toString(), alice);
    const QString bearer = token.json.value(QStringLiteral("token")).toString();
    EXPECT_EQ(bearer.size(), 43);

    const HttpResponse me = call(*server, "GET", QStringLiteral("/api/me"), {}, bearer);
    EXPECT_EQ(me.status, 200);
    EXPECT_EQ(me.json.value(QStringLiteral("email")).toString(), alice);
}

TEST_F(ServerTest, SignInPageRefusesUnusableParameters)
{
    TestServer *server = startServer();
    ASSERT_TRUE(server);
    const Pkce pkce = newPkce();
    const QString good = QStringLiteral("app=veilora&challenge=%1&state=%2").arg(pkce.challenge, pkce.state);
    EXPECT_EQ(call(*server, "GET", QStringLiteral("/app/connect?") + good).status, 200);

    const QStringList bad = {
        QStringLiteral("app=other&challenge=%1&state=x").arg(pkce.challenge),
        QStringLiteral("challenge=%1&state=x").arg(pkce.challenge),
        QStringLiteral("app=veilora&challenge=%1&state=x").arg(pkce.challenge.left(42)),
        QStringLiteral("app=veilora&challenge=%1&state=x").arg(pkce.challenge.left(42) + u'+'),
        QStringLiteral("app=veilora&challenge=%1").arg(pkce.challenge),
        QStringLiteral("app=veilora&challenge=%1&state=%2").arg(pkce.challenge, QString(129, u'a')),
        QStringLiteral("app=veilora&challenge=%1&state=a%3Cb").arg(pkce.challenge),
    };
    for (const QString &query : bad) {
        const HttpResponse page = call(*server, "GET", QStringLiteral("/app/connect?") + query);
        EXPECT_EQ(page.status, 400) << qPrintable(query);
        EXPECT_TRUE(page.contentType.startsWith("text/html")) << qPrintable(query);
    }
    // Forged hidden fields are checked again on the POST.
    const HttpResponse forged = call(*server, "POST", QStringLiteral("/app/connect"),
                                     "app=veilora&challenge=short&state=x&email=a%40b.c&password=p");
    EXPECT_EQ(forged.status, 400);
    EXPECT_EQ(call(*server, "GET",
                   QStringLiteral("/app/connect?app=veilora&challenge=%1&state=%2")
                       .arg(pkce.challenge, QString(128, u'a')))
                  .status,
              200);
}

TEST_F(ServerTest, WrongPasswordShowsTheFormAgainWithoutTellingWhichPartWasWrong)
{
    TestServer *server = startServer();
    ASSERT_TRUE(server);
    addUser(*server, alice, alicePassword);
    const BrowserResult wrong = signInThroughPage(connectUrl(*server, newPkce()), alice, bobPassword);
    EXPECT_EQ(wrong.status, 401);
    EXPECT_TRUE(wrong.body.contains(QStringLiteral("Wrong e-mail or password.")));
    EXPECT_TRUE(wrong.body.contains(QStringLiteral("value=\"alice@example.com\"")));
    EXPECT_FALSE(wrong.body.contains(bobPassword));

    const BrowserResult unknown =
        signInThroughPage(connectUrl(*server, newPkce()), QStringLiteral("nobody@example.com"), bobPassword);
    EXPECT_EQ(unknown.status, 401);
    EXPECT_TRUE(unknown.body.contains(QStringLiteral("Wrong e-mail or password.")));
    EXPECT_EQ(countRows(QStringLiteral("auth_codes")), 0);
}

TEST_F(ServerTest, FiveFailuresLockTheAccountEvenForTheRightPassword)
{
    TestServer *server = startServer();
    ASSERT_TRUE(server);
    addUser(*server, alice, alicePassword);
    addUser(*server, bob, bobPassword);
    for (int attempt = 0; attempt < 5; ++attempt)
        EXPECT_EQ(signInThroughPage(connectUrl(*server, newPkce()), alice, bobPassword).status, 401);
    const BrowserResult locked = signInThroughPage(connectUrl(*server, newPkce()), alice, alicePassword);
    EXPECT_EQ(locked.status, 429);
    EXPECT_TRUE(locked.body.contains(QStringLiteral("Too many attempts. Try again in a few minutes.")));
    // Another account from the same address is still open.
    EXPECT_EQ(signInThroughPage(connectUrl(*server, newPkce()), bob, bobPassword).status, 302);
}

TEST_F(ServerTest, TwentyFailuresFromOneAddressLockEveryAccountForIt)
{
    TestServer *server = startServer();
    ASSERT_TRUE(server);
    addUser(*server, alice, alicePassword);
    for (int attempt = 0; attempt < 20; ++attempt) {
        const QString email = QStringLiteral("guess%1@example.com").arg(attempt);
        EXPECT_EQ(signInThroughPage(connectUrl(*server, newPkce()), email, bobPassword).status, 401);
    }
    // A second process sees the same records.
    TestServer *other = startServer();
    ASSERT_TRUE(other);
    EXPECT_EQ(signInThroughPage(connectUrl(*other, newPkce()), alice, alicePassword).status, 429);
}

TEST_F(ServerTest, TokenExchangeRefusesWrongVerifierReuseAndGarbage)
{
    TestServer *server = startServer();
    ASSERT_TRUE(server);
    addUser(*server, alice, alicePassword);

    // A wrong verifier fails and burns the code: the right one cannot follow.
    const Pkce first = newPkce();
    const QString burned = signInForCode(*server, first, alice, alicePassword);
    ASSERT_FALSE(burned.isEmpty());
    const HttpResponse mismatch = exchange(*server, burned, newPkce().verifier);
    EXPECT_EQ(mismatch.status, 400);
    EXPECT_EQ(mismatch.json.value(QStringLiteral("error")).toString(), QStringLiteral("invalid_grant"));
    EXPECT_EQ(exchange(*server, burned, first.verifier).status, 400);

    // A code buys one token only.
    const Pkce second = newPkce();
    const QString code = signInForCode(*server, second, alice, alicePassword);
    EXPECT_EQ(exchange(*server, code, second.verifier).status, 200);
    const HttpResponse reused = exchange(*server, code, second.verifier);
    EXPECT_EQ(reused.status, 400);
    EXPECT_EQ(reused.json.value(QStringLiteral("error")).toString(), QStringLiteral("invalid_grant"));
    EXPECT_EQ(countRows(QStringLiteral("tokens")), 1);

    // Verifiers outside the allowed alphabet or length never match.
    const Pkce third = newPkce();
    const QString shortCode = signInForCode(*server, third, alice, alicePassword);
    EXPECT_EQ(exchange(*server, shortCode, third.verifier.left(42)).status, 400);
    EXPECT_EQ(exchange(*server, QStringLiteral("no-such-code"), second.verifier).status, 400);

    for (const QByteArray &body : {QByteArray("{"), QByteArray("[]"), QByteArray("\"code\""),
                                   QByteArray("{\"code\":1,\"verifier\":\"v\",\"deviceId\":\"d\"}"),
                                   QByteArray("{\"code\":\"c\",\"verifier\":\"v\"}")}) {
        const HttpResponse response = call(*server, "POST", QStringLiteral("/api/app/token"), body);
        EXPECT_EQ(response.status, 400) << body.constData();
        EXPECT_EQ(response.json.value(QStringLiteral("error")).toString(), QStringLiteral("bad_request"));
    }
    EXPECT_EQ(countRows(QStringLiteral("tokens")), 1);
}

TEST_F(ServerTest, CodeRacedThroughTwoProcessesBuysOneToken)
{
    TestServer *one = startServer();
    ASSERT_TRUE(one);
    TestServer *two = startServer();
    ASSERT_TRUE(two);
    addUser(*one, alice, alicePassword);
    const Pkce pkce = newPkce();
    const QString code = signInForCode(*one, pkce, alice, alicePassword);
    const int first = exchange(*one, code, pkce.verifier).status;
    const int second = exchange(*two, code, pkce.verifier).status;
    EXPECT_EQ(first, 200);
    EXPECT_EQ(second, 400);
}

TEST_F(ServerTest, ExpiredCodeIsRefused)
{
    TestServer::Options options;
    options.codeLifetimeSeconds = 1;
    TestServer *server = startServer(options);
    ASSERT_TRUE(server);
    addUser(*server, alice, alicePassword);
    const Pkce pkce = newPkce();
    const QString code = signInForCode(*server, pkce, alice, alicePassword);
    ASSERT_FALSE(code.isEmpty());
    processEventsFor(std::chrono::milliseconds(2200));
    EXPECT_EQ(exchange(*server, code, pkce.verifier).status, 400);
}

TEST_F(ServerTest, LogoutRevokesOnlyThatToken)
{
    TestServer *server = startServer();
    ASSERT_TRUE(server);
    addUser(*server, alice, alicePassword);
    const QString laptop = tokenFor(*server, alice, alicePassword);
    const QString desktop = tokenFor(*server, alice, alicePassword);
    ASSERT_FALSE(laptop.isEmpty());
    ASSERT_NE(laptop, desktop);

    EXPECT_EQ(call(*server, "POST", QStringLiteral("/api/app/logout"), {}, laptop).status, 200);
    const HttpResponse after = call(*server, "GET", QStringLiteral("/api/me"), {}, laptop);
    EXPECT_EQ(after.status, 401);
    EXPECT_EQ(after.json.value(QStringLiteral("error")).toString(), QStringLiteral("unauthorized"));
    EXPECT_EQ(call(*server, "POST", QStringLiteral("/api/app/logout"), {}, laptop).status, 401);
    EXPECT_EQ(call(*server, "GET", QStringLiteral("/api/me"), {}, desktop).status, 200);
    EXPECT_EQ(call(*server, "GET", QStringLiteral("/api/me")).status, 401);
    EXPECT_EQ(call(*server, "GET", QStringLiteral("/api/me"), {}, QStringLiteral("not a token")).status, 401);
}

TEST_F(ServerTest, SyncStoresVersionsAndRefusesStaleUploads)
{
    TestServer *server = startServer();
    ASSERT_TRUE(server);
    addUser(*server, alice, alicePassword);
    addUser(*server, bob, bobPassword);
    const QString token = tokenFor(*server, alice, alicePassword);
    const QString bobToken = tokenFor(*server, bob, bobPassword);
    const QString path = QStringLiteral("/api/sync/veilora");

    const HttpResponse empty = call(*server, "GET", path, {}, token);
    EXPECT_EQ(empty.status, 200);
    EXPECT_EQ(empty.json, QJsonObject({{QStringLiteral("version"), 0}}));

    const QString blob = QStringLiteral("{\"graceDelay\":5,\"language\":\"de\",\"note\":\"Grüße\"}");
    const HttpResponse first = call(*server, "PUT", path, upload(blob, 0), token);
    EXPECT_EQ(first.status, 200);
    EXPECT_EQ(first.json.value(QStringLiteral("version")).toInteger(), 1);

    const HttpResponse stale = call(*server, "PUT", path, upload(QStringLiteral("other"), 0), token);
    EXPECT_EQ(stale.status, 409);
    EXPECT_EQ(stale.json.value(QStringLiteral("error")).toString(), QStringLiteral("conflict"));
    EXPECT_EQ(stale.json.value(QStringLiteral("version")).toInteger(), 1);
    EXPECT_EQ(call(*server, "PUT", path, upload(QStringLiteral("other"), 5), token).status, 409);

    const HttpResponse stored = call(*server, "GET", path, {}, token);
    EXPECT_EQ(stored.json.value(QStringLiteral("version")).toInteger(), 1);
    EXPECT_EQ(stored.json.value(QStringLiteral("blob")).toString(), blob);

    EXPECT_EQ(call(*server, "PUT", path, upload(QStringLiteral("second"), 1), token)
                  .json.value(QStringLiteral("version"))
                  .toInteger(),
              2);
    // Accounts do not see each other's blobs.
    EXPECT_EQ(call(*server, "GET", path, {}, bobToken).json.value(QStringLiteral("version")).toInteger(), 0);
    EXPECT_EQ(call(*server, "GET", path).status, 401);
    EXPECT_EQ(call(*server, "PUT", path, upload(QStringLiteral("x"), 2)).status, 401);
}

TEST_F(ServerTest, SyncRefusesBadUploadsAndStoresNothing)
{
    TestServer *server = startServer();
    ASSERT_TRUE(server);
    addUser(*server, alice, alicePassword);
    const QString token = tokenFor(*server, alice, alicePassword);
    const QString path = QStringLiteral("/api/sync/veilora");
    ASSERT_EQ(call(*server, "PUT", path, upload(QStringLiteral("kept"), 0), token).status, 200);

    const QList<QByteArray> malformed = {
        "{",
        "[1]",
        "null",
        "{\"blob\":1,\"baseVersion\":1,\"deviceId\":\"d\"}",
        "{\"blob\":\"x\",\"baseVersion\":\"1\",\"deviceId\":\"d\"}",
        "{\"blob\":\"x\",\"baseVersion\":1.5,\"deviceId\":\"d\"}",
        "{\"blob\":\"x\",\"baseVersion\":-1,\"deviceId\":\"d\"}",
        "{\"blob\":\"x\",\"baseVersion\":1}",
        "{\"blob\":\"a\\u0000b\",\"baseVersion\":1,\"deviceId\":\"d\"}",
    };
    for (const QByteArray &body : malformed) {
        const HttpResponse response = call(*server, "PUT", path, body, token);
        EXPECT_EQ(response.status, 400) << body.constData();
        EXPECT_EQ(response.json.value(QStringLiteral("error")).toString(), QStringLiteral("bad_request"));
    }
    // 64 KiB of blob is fine; one byte more is not, nor is a body over the overall cap.
    EXPECT_EQ(call(*server, "PUT", path, upload(QString(64 * 1024 + 1, u'x'), 1), token).status, 413);
    EXPECT_EQ(call(*server, "PUT", path, QByteArray(5 * 1024 * 1024, ' '), token).status, 413);
    const HttpResponse kept = call(*server, "GET", path, {}, token);
    EXPECT_EQ(kept.json.value(QStringLiteral("version")).toInteger(), 1);
    EXPECT_EQ(kept.json.value(QStringLiteral("blob")).toString(), QStringLiteral("kept"));
    EXPECT_EQ(call(*server, "PUT", path, upload(QString(64 * 1024, u'x'), 1), token).status, 200);
}

TEST_F(ServerTest, CrashReportsAndTesterLogsAreKeptAsSent)
{
    TestServer *server = startServer();
    ASSERT_TRUE(server);
    const QByteArray crash = R"({"signal":11,"frames":["a","b"]})";
    EXPECT_EQ(call(*server, "POST", QStringLiteral("/api/crash"), crash).status, 200);
    EXPECT_EQ(call(*server, "POST", QStringLiteral("/api/testlog"), R"({"lines":[]})").status, 200);
    EXPECT_EQ(call(*server, "POST", QStringLiteral("/api/testlog"), R"({"lines":["x"]})").status, 200);

    for (const QByteArray &body : {QByteArray("[]"), QByteArray("{"), QByteArray("42"), QByteArray()}) {
        EXPECT_EQ(call(*server, "POST", QStringLiteral("/api/crash"), body).status, 400) << body.constData();
        EXPECT_EQ(call(*server, "POST", QStringLiteral("/api/testlog"), body).status, 400)
            << body.constData();
    }
    const QByteArray big = "{\"x\":\"" + QByteArray(1024 * 1024, 'a') + "\"}";
    EXPECT_EQ(call(*server, "POST", QStringLiteral("/api/crash"), big).status, 413);
    EXPECT_EQ(call(*server, "POST", QStringLiteral("/api/testlog"), big).status, 200);
    EXPECT_EQ(countRows(QStringLiteral("crash_reports")), 1);
    EXPECT_EQ(countRows(QStringLiteral("test_logs")), 3);
}

TEST_F(ServerTest, FeedServesFilesOfItsFolderOnly)
{
    QTemporaryDir root;
    ASSERT_TRUE(root.isValid());
    ASSERT_TRUE(QDir(root.path()).mkdir(QStringLiteral("feed")));
    const QString feed = root.filePath(QStringLiteral("feed"));
    const auto write = [](const QString &path, const QByteArray &data) {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
    };
    ASSERT_TRUE(write(feed + QStringLiteral("/appcast.xml"), "<rss/>"));
    ASSERT_TRUE(write(feed + QStringLiteral("/veilora_1.0_amd64.deb"), QByteArray("!<arch>\n\0\1", 10)));
    ASSERT_TRUE(write(feed + QStringLiteral("/notes.txt"), "notes"));
    ASSERT_TRUE(write(feed + QStringLiteral("/.hidden"), "hidden"));
    ASSERT_TRUE(write(root.filePath(QStringLiteral("secret.txt")), "outside"));
    ASSERT_TRUE(QFile::link(root.filePath(QStringLiteral("secret.txt")), feed + QStringLiteral("/link.txt")));
    TestServer::Options options;
    options.feedDir = feed;
    TestServer *server = startServer(options);
    ASSERT_TRUE(server);

    const HttpResponse appcast = call(*server, "GET", QStringLiteral("/feed/appcast.xml"));
    EXPECT_EQ(appcast.status, 200);
    EXPECT_EQ(appcast.body, QByteArray("<rss/>"));
    EXPECT_EQ(appcast.contentType, QByteArray("application/xml"));
    const HttpResponse package = call(*server, "GET", QStringLiteral("/feed/veilora_1.0_amd64.deb"));
    EXPECT_EQ(package.body, QByteArray("!<arch>\n\0\1", 10));
    EXPECT_EQ(package.contentType, QByteArray("application/vnd.debian.binary-package"));
    EXPECT_EQ(call(*server, "GET", QStringLiteral("/feed/notes.txt")).contentType,
              QByteArray("application/octet-stream"));

    for (const QString &path : {QStringLiteral("/feed/missing.xml"), QStringLiteral("/feed/.hidden"),
                                QStringLiteral("/feed/link.txt"), QStringLiteral("/feed/..%2Fsecret.txt"),
                                QStringLiteral("/feed/%2E%2E%2Fsecret.txt"), QStringLiteral("/feed/"),
                                QStringLiteral("/feed/sub%2Fx")}) {
        const HttpResponse response = call(*server, "GET", path);
        EXPECT_EQ(response.status, 404) << qPrintable(path);
        EXPECT_FALSE(response.body.contains("outside")) << qPrintable(path);
    }
    EXPECT_EQ(call(*server, "POST", QStringLiteral("/feed/appcast.xml")).status, 405);
}

TEST_F(ServerTest, UnknownPathsAndMethods)
{
    TestServer *server = startServer();
    ASSERT_TRUE(server);
    EXPECT_EQ(call(*server, "GET", QStringLiteral("/api/nothing")).status, 404);
    EXPECT_EQ(call(*server, "GET", QStringLiteral("/feed/appcast.xml")).status, 404); // no feed folder
    EXPECT_EQ(call(*server, "DELETE", QStringLiteral("/api/sync/veilora")).status, 405);
    EXPECT_EQ(call(*server, "GET", QStringLiteral("/api/app/token")).status, 405);
}

TEST_F(ServerTest, AddUserReplacesThePassword)
{
    TestServer *server = startServer();
    ASSERT_TRUE(server);
    addUser(*server, QStringLiteral(" Alice@Example.com"), bobPassword);
    EXPECT_TRUE(server->log().contains(QStringLiteral("user alice@example.com added")));
    addUser(*server, alice, alicePassword);
    EXPECT_TRUE(server->log().contains(QStringLiteral("password of alice@example.com changed")));
    EXPECT_EQ(countRows(QStringLiteral("accounts")), 1);
    EXPECT_EQ(signInThroughPage(connectUrl(*server, newPkce()), alice, bobPassword).status, 401);
    EXPECT_EQ(signInThroughPage(connectUrl(*server, newPkce()), alice, alicePassword).status, 302);

    QString error;
    EXPECT_FALSE(server->addUser(bob, QString(), &error));
    EXPECT_EQ(countRows(QStringLiteral("accounts")), 1);
}

TEST_F(ServerTest, PlainHttpOnlyOnLoopback)
{
    QProcess refused;
    refused.start(TestServer::executable(),
                  {QStringLiteral("serve"), QStringLiteral("--listen"), QStringLiteral("0.0.0.0:0"),
                   QStringLiteral("--database"), databaseUrl()});
    ASSERT_TRUE(refused.waitForFinished(60000));
    EXPECT_EQ(refused.exitCode(), 2);
    EXPECT_TRUE(refused.readAllStandardOutput().isEmpty());
    EXPECT_TRUE(refused.readAllStandardError().contains("--tls-cert"));

    QProcess plain;
    plain.start(TestServer::executable(),
                {QStringLiteral("serve"), QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0"),
                 QStringLiteral("--database"), databaseUrl()});
    ASSERT_TRUE(waitUntil([&] { return plain.canReadLine() || plain.state() == QProcess::NotRunning; },
                          std::chrono::seconds(60)));
    EXPECT_TRUE(plain.readLine().startsWith("listening on http://127.0.0.1:"));
    plain.terminate();
    ASSERT_TRUE(plain.waitForFinished(30000));
    EXPECT_EQ(plain.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(plain.exitCode(), 0);
}

TEST_F(ServerTest, LogNamesRequestsButNoSecrets)
{
    TestServer *server = startServer();
    ASSERT_TRUE(server);
    addUser(*server, alice, alicePassword);
    const Pkce pkce = newPkce();
    const QString code = signInForCode(*server, pkce, alice, alicePassword);
    const QString token =
        exchange(*server, code, pkce.verifier).json.value(QStringLiteral("token")).toString();
    ASSERT_FALSE(token.isEmpty());
    // Secrets in places a careless log would print: failed attempts, queries, bodies.
    signInThroughPage(connectUrl(*server, newPkce()), alice, bobPassword);
    exchange(*server, code, pkce.verifier);
    call(*server, "GET", QStringLiteral("/api/me?token=") + token, {}, token);
    call(*server, "PUT", QStringLiteral("/api/sync/veilora"), "{\"blob\":\"" + token.toLatin1() + "\"",
         token);
    call(*server, "POST", QStringLiteral("/api/app/logout"), {}, token);
    call(*server, "GET", QStringLiteral("/api/me"), {}, token);

    server->stop();
    const QString log = server->log();
    EXPECT_TRUE(log.contains(QStringLiteral(" GET /app/connect 200 127.0.0.1")));
    EXPECT_TRUE(log.contains(QStringLiteral(" POST /api/app/token 400 127.0.0.1")));
    EXPECT_TRUE(log.contains(QStringLiteral(" GET /api/me 401 127.0.0.1")));
    EXPECT_FALSE(log.contains(pkce.state)) << "the sign-in state comes in the query string";
    // The secrets themselves are checked for every test as it ends.
}

} // namespace veilora::test
