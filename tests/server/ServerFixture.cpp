#include "ServerFixture.h"

#include "DatabaseUrl.h"
#include "RequestParsing.h"
#include "TokenFactory.h"
#include "support/TestBrowser.h"
#include "support/TestSupport.h"

#include <QEventLoop>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSslConfiguration>
#include <QTimer>
#include <QUrlQuery>

namespace veilora::test {

namespace {

// A separate connection from the test process, like an operator's psql.
class Sql
{
public:
    explicit Sql(const QString &url)
    {
        const auto parsed = server::DatabaseUrl::parse(url);
        if (!parsed)
            return;
        QSqlDatabase db = QSqlDatabase::addDatabase(parsed->qtDriver(), name());
        db.setDatabaseName(parsed->driver == server::DatabaseUrl::Driver::Sqlite ? parsed->path
                                                                                 : parsed->databaseName);
        db.setHostName(parsed->host);
        if (parsed->port > 0)
            db.setPort(parsed->port);
        db.setUserName(parsed->user);
        db.setPassword(parsed->password);
        db.open();
    }
    ~Sql() { QSqlDatabase::removeDatabase(name()); }
    static QString name() { return QStringLiteral("server-test-inspection"); }
};

} // namespace

void ServerTest::SetUp()
{
    m_postgres = qEnvironmentVariable("VEILORA_TEST_DATABASE") == QLatin1StringView("postgresql");
    if (!m_postgres) {
        m_dir = std::make_unique<QTemporaryDir>();
        ASSERT_TRUE(m_dir->isValid());
        m_databaseUrl = QStringLiteral("sqlite:") + m_dir->filePath(QStringLiteral("server.db"));
        return;
    }
    m_databaseUrl = qEnvironmentVariable("VEILORA_TEST_DATABASE_URL");
    if (m_databaseUrl.isEmpty()) {
        if (inTestSession())
            FAIL() << "VEILORA_TEST_DATABASE_URL is not set: run this test through with-postgresql.sh";
        GTEST_SKIP() << "no PostgreSQL database (run through tests/server/with-postgresql.sh)";
    }
    // Each test starts from an empty schema, which also runs the migrations every time.
    Sql sql(m_databaseUrl);
    QSqlQuery query(QSqlDatabase::database(Sql::name(), false));
    for (const char *table : {"test_logs", "crash_reports", "sign_in_failures", "sync_blobs", "tokens",
                              "auth_codes", "accounts", "schema_version"})
        ASSERT_TRUE(
            query.exec(QStringLiteral("DROP TABLE IF EXISTS %1 CASCADE").arg(QLatin1StringView(table))))
            << qPrintable(query.lastError().text());
}

void ServerTest::TearDown()
{
    for (const auto &server : m_servers) {
        server->stop();
        const QString log = server->log();
        for (const QString &secret : std::as_const(m_secrets)) {
            // Only the fact is reported: printing the secret would defeat the check.
            EXPECT_FALSE(log.contains(secret)) << "a secret used by this test appears in the server log";
        }
    }
}

TestServer *ServerTest::startServer(TestServer::Options options)
{
    if (options.databaseUrl.isEmpty())
        options.databaseUrl = m_databaseUrl;
    m_servers.push_back(std::make_unique<TestServer>(std::move(options)));
    QString error;
    if (!m_servers.back()->start(&error)) {
        ADD_FAILURE() << qPrintable(error);
        return nullptr;
    }
    return m_servers.back().get();
}

void ServerTest::addUser(TestServer &server, const QString &email, const QString &password)
{
    remember(password);
    QString error;
    EXPECT_TRUE(server.addUser(email, password, &error)) << qPrintable(error);
}

HttpResponse ServerTest::call(TestServer &server, const QByteArray &verb, const QString &pathAndQuery,
                              const QByteArray &body, const QString &token)
{
    QNetworkAccessManager network;
    QNetworkRequest request(QUrl(server.baseUrl().toString() + pathAndQuery));
    QSslConfiguration ssl = QSslConfiguration::defaultConfiguration();
    ssl.addCaCertificates(TestServer::caCertificates());
    request.setSslConfiguration(ssl);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("application/json"));
    if (!token.isEmpty())
        request.setRawHeader("Authorization", "Bearer " + token.toLatin1());
    QNetworkReply *reply = network.sendCustomRequest(request, verb, body);
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(60000, &loop, &QEventLoop::quit);
    loop.exec();
    HttpResponse response;
    response.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    response.body = reply->readAll();
    response.contentType = reply->header(QNetworkRequest::ContentTypeHeader).toByteArray();
    response.json = QJsonDocument::fromJson(response.body).object();
    reply->deleteLater();
    return response;
}

Pkce ServerTest::newPkce()
{
    Pkce pkce;
    pkce.verifier = server::TokenFactory::newSecret() + QStringLiteral("-._~x");
    pkce.challenge = server::challengeForVerifier(pkce.verifier);
    pkce.state = QStringLiteral("st-_") + server::TokenFactory::newSecret().left(20);
    remember(pkce.verifier);
    return pkce;
}

QUrl ServerTest::connectUrl(TestServer &server, const Pkce &pkce)
{
    QUrl url(server.baseUrl().toString() + QStringLiteral("/app/connect"));
    url.setQuery(QUrlQuery{{QStringLiteral("app"), QStringLiteral("veilora")},
                           {QStringLiteral("challenge"), pkce.challenge},
                           {QStringLiteral("state"), pkce.state}});
    return url;
}

QString ServerTest::signInForCode(TestServer &server, const Pkce &pkce, const QString &email,
                                  const QString &password)
{
    remember(password);
    const BrowserResult result = signInThroughPage(connectUrl(server, pkce), email, password);
    if (result.status != 302)
        return {};
    const QString code =
        QUrlQuery(result.location).queryItemValue(QStringLiteral("code"), QUrl::FullyDecoded);
    if (!code.isEmpty())
        remember(code);
    return code;
}

HttpResponse ServerTest::exchange(TestServer &server, const QString &code, const QString &verifier)
{
    const QJsonObject request{{QStringLiteral("code"), code},
                              {QStringLiteral("verifier"), verifier},
                              {QStringLiteral("deviceId"), QStringLiteral("device-1")}};
    HttpResponse response = call(server, "POST", QStringLiteral("/api/app/token"),
                                 QJsonDocument(request).toJson(QJsonDocument::Compact));
    if (const QString token = response.json.value(QStringLiteral("token")).toString(); !token.isEmpty())
        remember(token);
    return response;
}

QString ServerTest::tokenFor(TestServer &server, const QString &email, const QString &password)
{
    const Pkce pkce = newPkce();
    const QString code = signInForCode(server, pkce, email, password);
    if (code.isEmpty())
        return {};
    return exchange(server, code, pkce.verifier).json.value(QStringLiteral("token")).toString();
}

qint64 ServerTest::countRows(const QString &table)
{
    Sql sql(m_databaseUrl);
    QSqlQuery query(QSqlDatabase::database(Sql::name(), false));
    if (!query.exec(QStringLiteral("SELECT COUNT(*) FROM %1").arg(table)) || !query.next())
        return -1;
    return query.value(0).toLongLong();
}

} // namespace veilora::test
