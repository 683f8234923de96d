#pragma once

#include "support/TestServer.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace veilora::test {

struct HttpResponse
{
    int status = 0;
    QByteArray body;
    QByteArray contentType;
    QJsonObject json;
};

struct Pkce
{
    QString verifier;
    QString challenge;
    QString state;
};

// Every server test runs against a fresh database of the driver the ctest
// entry names (VEILORA_TEST_DATABASE), and afterwards checks that none of the
// secrets it used appears in any server's output.
class ServerTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // A started server on this test's database; nullptr after a test failure.
    TestServer *startServer(TestServer::Options options = {});
    void addUser(TestServer &server, const QString &email, const QString &password);

    HttpResponse call(TestServer &server, const QByteArray &verb, const QString &pathAndQuery,
                      const QByteArray &body = {}, const QString &token = {});
    Pkce newPkce();
    QUrl connectUrl(TestServer &server, const Pkce &pkce);
    // Signs in through the page; the code of the redirect, or empty.
    QString signInForCode(TestServer &server, const Pkce &pkce, const QString &email,
                          const QString &password);
    HttpResponse exchange(TestServer &server, const QString &code, const QString &verifier);
    // The whole sign-in: a bearer token for the account, or empty.
    QString tokenFor(TestServer &server, const QString &email, const QString &password);
    qint64 countRows(const QString &table);

    // Anything that must never be printed by the server.
    void remember(const QString &secret) { m_secrets << secret; }
    QString databaseUrl() const { return m_databaseUrl; }
    bool onPostgreSql() const { return m_postgres; }

private:
    QString m_databaseUrl;
    bool m_postgres = false;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::vector<std::unique_ptr<TestServer>> m_servers;
    QStringList m_secrets;
};

} // namespace veilora::test
