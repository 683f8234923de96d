#include "Store.h"

#include <QAtomicInteger>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <cstdio>
#include <initializer_list>
#include <vector>

namespace veilora::server {

namespace {

// Written once per migration, never edited afterwards: a database that has
// run step N must keep matching what step N created. `%ID%` is the only part
// that differs between the drivers, because an auto-numbered key is spelled
// differently in each.
const std::vector<std::vector<const char *>> &migrations()
{
    static const std::vector<std::vector<const char *>> steps = {
        {
            "CREATE TABLE accounts (id %ID%, email TEXT NOT NULL UNIQUE, password_hash TEXT NOT NULL, "
            "created_at BIGINT NOT NULL)",
            "CREATE TABLE auth_codes (code_hash TEXT PRIMARY KEY, account_id BIGINT NOT NULL "
            "REFERENCES accounts(id) ON DELETE CASCADE, challenge TEXT NOT NULL, expires_at BIGINT NOT NULL, "
            "used INTEGER NOT NULL DEFAULT 0)",
            "CREATE TABLE tokens (token_hash TEXT PRIMARY KEY, account_id BIGINT NOT NULL "
            "REFERENCES accounts(id) ON DELETE CASCADE, device_id TEXT NOT NULL, created_at BIGINT NOT NULL)",
            "CREATE TABLE sync_blobs (account_id BIGINT PRIMARY KEY REFERENCES accounts(id) ON DELETE "
            "CASCADE, "
            "version BIGINT NOT NULL, blob TEXT NOT NULL, device_id TEXT NOT NULL, updated_at BIGINT NOT "
            "NULL)",
            "CREATE TABLE sign_in_failures (scope TEXT NOT NULL, \"key\" TEXT NOT NULL, \"at\" BIGINT NOT "
            "NULL)",
            "CREATE INDEX sign_in_failures_lookup ON sign_in_failures (scope, \"key\", \"at\")",
            "CREATE TABLE crash_reports (id %ID%, received_at BIGINT NOT NULL, address TEXT NOT NULL, "
            "body TEXT NOT NULL)",
            "CREATE TABLE test_logs (id %ID%, received_at BIGINT NOT NULL, address TEXT NOT NULL, "
            "body TEXT NOT NULL)",
        },
    };
    return steps;
}

void logError(const char *what, const QSqlError &error)
{
    // Driver messages name tables and constraints, never bound values.
    std::fprintf(stderr, "database error (%s): %s\n", what, qPrintable(error.text()));
    std::fflush(stderr);
}

bool run(QSqlQuery &query, const char *what)
{
    if (query.exec())
        return true;
    logError(what, query.lastError());
    return false;
}

QString scopeName(Store::FailureScope scope)
{
    return scope == Store::FailureScope::Email ? QStringLiteral("email") : QStringLiteral("address");
}

} // namespace

Store::Store(QString connectionName)
    : m_connectionName(std::move(connectionName))
{}

Store::~Store()
{
    {
        QSqlDatabase db = QSqlDatabase::database(m_connectionName, false);
        if (db.isOpen())
            db.close();
    }
    QSqlDatabase::removeDatabase(m_connectionName);
}

QSqlDatabase Store::database() const
{
    return QSqlDatabase::database(m_connectionName, false);
}

std::unique_ptr<Store> Store::open(const DatabaseUrl &url, QString *error)
{
    static QAtomicInteger<int> counter;
    std::unique_ptr<Store> store(
        new Store(QStringLiteral("veilora-store-%1").arg(counter.fetchAndAddRelaxed(1))));
    store->m_postgres = url.driver == DatabaseUrl::Driver::PostgreSql;
    QSqlDatabase db = QSqlDatabase::addDatabase(url.qtDriver(), store->m_connectionName);
    if (!db.isValid()) {
        *error = QStringLiteral("the Qt SQL driver %1 is not installed").arg(url.qtDriver());
        return nullptr;
    }
    if (store->m_postgres) {
        db.setHostName(url.host);
        if (url.port > 0)
            db.setPort(url.port);
        db.setUserName(url.user);
        db.setPassword(url.password);
        db.setDatabaseName(url.databaseName);
        db.setConnectOptions(QStringLiteral("connect_timeout=10"));
    } else {
        db.setDatabaseName(url.path);
        // Several processes may share the file; wait for each other's writes.
        db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=10000"));
    }
    if (!db.open()) {
        *error = QStringLiteral("cannot open the database: %1").arg(db.lastError().text());
        return nullptr;
    }
    if (!store->m_postgres) {
        QSqlQuery pragma(db);
        if (!pragma.exec(QStringLiteral("PRAGMA journal_mode=WAL")) ||
            !pragma.exec(QStringLiteral("PRAGMA foreign_keys=ON"))) {
            *error = QStringLiteral("cannot set up the SQLite database: %1").arg(pragma.lastError().text());
            return nullptr;
        }
    }
    if (!store->migrate(error))
        return nullptr;
    return store;
}

bool Store::migrate(QString *error)
{
    QSqlDatabase db = database();
    QSqlQuery query(db);
    const auto fail = [&](const QString &what) {
        *error =
            QStringLiteral("cannot update the database schema (%1): %2").arg(what, query.lastError().text());
        query.exec(QStringLiteral("ROLLBACK"));
        return false;
    };
    if (!query.exec(QStringLiteral("CREATE TABLE IF NOT EXISTS schema_version (version INTEGER NOT NULL)")))
        return fail(QStringLiteral("schema_version"));
    // Two servers starting together must not both run the same step.
    if (m_postgres) {
        if (!query.exec(QStringLiteral("BEGIN")) ||
            !query.exec(QStringLiteral("LOCK TABLE schema_version IN EXCLUSIVE MODE")))
            return fail(QStringLiteral("lock"));
    } else if (!query.exec(QStringLiteral("BEGIN IMMEDIATE"))) {
        return fail(QStringLiteral("lock"));
    }
    if (!query.exec(QStringLiteral("SELECT MAX(version) FROM schema_version")))
        return fail(QStringLiteral("read version"));
    const int current = query.next() ? query.value(0).toInt() : 0;
    const auto &steps = migrations();
    if (current > static_cast<int>(steps.size())) {
        query.exec(QStringLiteral("ROLLBACK"));
        *error = QStringLiteral("the database was made by a newer server (schema %1)").arg(current);
        return false;
    }
    const QString idColumn =
        m_postgres ? QStringLiteral("BIGSERIAL PRIMARY KEY") : QStringLiteral("INTEGER PRIMARY KEY");
    for (int step = current; step < static_cast<int>(steps.size()); ++step) {
        for (const char *statement : steps.at(static_cast<size_t>(step))) {
            if (!query.exec(QString::fromLatin1(statement).replace(QLatin1StringView("%ID%"), idColumn)))
                return fail(QStringLiteral("step %1").arg(step + 1));
        }
    }
    if (current < static_cast<int>(steps.size())) {
        query.prepare(current == 0 ? QStringLiteral("INSERT INTO schema_version (version) VALUES (?)")
                                   : QStringLiteral("UPDATE schema_version SET version = ?"));
        query.addBindValue(static_cast<int>(steps.size()));
        if (!query.exec())
            return fail(QStringLiteral("write version"));
    }
    if (!query.exec(QStringLiteral("COMMIT")))
        return fail(QStringLiteral("commit"));
    return true;
}

Store::PasswordChange Store::setPassword(const QString &email, const QString &passwordHash, qint64 now)
{
    QSqlQuery query(database());
    query.prepare(QStringLiteral("UPDATE accounts SET password_hash = ? WHERE email = ?"));
    query.addBindValue(passwordHash);
    query.addBindValue(email);
    if (!run(query, "change password"))
        return PasswordChange::Failed;
    if (query.numRowsAffected() > 0)
        return PasswordChange::Changed;
    query.prepare(QStringLiteral("INSERT INTO accounts (email, password_hash, created_at) VALUES (?, ?, ?)"));
    query.addBindValue(email);
    query.addBindValue(passwordHash);
    query.addBindValue(now);
    return run(query, "add account") ? PasswordChange::Added : PasswordChange::Failed;
}

std::optional<Store::Account> Store::accountByEmail(const QString &email)
{
    QSqlQuery query(database());
    query.prepare(QStringLiteral("SELECT id, email, password_hash FROM accounts WHERE email = ?"));
    query.addBindValue(email);
    if (!run(query, "find account") || !query.next())
        return std::nullopt;
    return Account{query.value(0).toLongLong(), query.value(1).toString(), query.value(2).toString()};
}

std::optional<QString> Store::emailOfAccount(qint64 accountId)
{
    QSqlQuery query(database());
    query.prepare(QStringLiteral("SELECT email FROM accounts WHERE id = ?"));
    query.addBindValue(accountId);
    if (!run(query, "find account") || !query.next())
        return std::nullopt;
    return query.value(0).toString();
}

bool Store::insertCode(const QString &codeHash, qint64 accountId, const QString &challenge, qint64 expiresAt)
{
    QSqlQuery query(database());
    query.prepare(QStringLiteral("INSERT INTO auth_codes (code_hash, account_id, challenge, expires_at, "
                                 "used) VALUES (?, ?, ?, ?, 0)"));
    query.addBindValue(codeHash);
    query.addBindValue(accountId);
    query.addBindValue(challenge);
    query.addBindValue(expiresAt);
    return run(query, "add code");
}

std::optional<Store::ClaimedCode> Store::claimCode(const QString &codeHash, qint64 now)
{
    QSqlQuery query(database());
    query.prepare(
        QStringLiteral("UPDATE auth_codes SET used = 1 WHERE code_hash = ? AND used = 0 AND expires_at > ?"));
    query.addBindValue(codeHash);
    query.addBindValue(now);
    if (!run(query, "claim code") || query.numRowsAffected() != 1)
        return std::nullopt;
    query.prepare(QStringLiteral("SELECT account_id, challenge FROM auth_codes WHERE code_hash = ?"));
    query.addBindValue(codeHash);
    if (!run(query, "read code") || !query.next())
        return std::nullopt;
    return ClaimedCode{query.value(0).toLongLong(), query.value(1).toString()};
}

void Store::deleteCodesBefore(qint64 time)
{
    QSqlQuery query(database());
    query.prepare(QStringLiteral("DELETE FROM auth_codes WHERE expires_at < ?"));
    query.addBindValue(time);
    run(query, "purge codes");
}

bool Store::insertToken(const QString &tokenHash, qint64 accountId, const QString &deviceId, qint64 now)
{
    QSqlQuery query(database());
    query.prepare(QStringLiteral(
        "INSERT INTO tokens (token_hash, account_id, device_id, created_at) VALUES (?, ?, ?, ?)"));
    query.addBindValue(tokenHash);
    query.addBindValue(accountId);
    query.addBindValue(deviceId);
    query.addBindValue(now);
    return run(query, "add token");
}

std::optional<qint64> Store::accountOfToken(const QString &tokenHash)
{
    QSqlQuery query(database());
    query.prepare(QStringLiteral("SELECT account_id FROM tokens WHERE token_hash = ?"));
    query.addBindValue(tokenHash);
    if (!run(query, "find token") || !query.next())
        return std::nullopt;
    return query.value(0).toLongLong();
}

bool Store::deleteToken(const QString &tokenHash)
{
    QSqlQuery query(database());
    query.prepare(QStringLiteral("DELETE FROM tokens WHERE token_hash = ?"));
    query.addBindValue(tokenHash);
    return run(query, "revoke token") && query.numRowsAffected() == 1;
}

std::optional<Store::Blob> Store::blobOf(qint64 accountId, bool *ok)
{
    QSqlQuery query(database());
    query.prepare(QStringLiteral("SELECT version, blob FROM sync_blobs WHERE account_id = ?"));
    query.addBindValue(accountId);
    const bool succeeded = run(query, "read blob");
    if (ok)
        *ok = succeeded;
    if (!succeeded || !query.next())
        return std::nullopt;
    return Blob{query.value(0).toLongLong(), query.value(1).toString()};
}

Store::BlobWrite Store::writeBlob(qint64 accountId, qint64 baseVersion, const QString &blob,
                                  const QString &deviceId, qint64 now, qint64 *version)
{
    QSqlQuery query(database());
    bool written = false;
    if (baseVersion == 0) {
        // The primary key lets only the first of racing uploads create the row;
        // the others fail here and find out below that they lost.
        query.prepare(
            QStringLiteral("INSERT INTO sync_blobs (account_id, version, blob, device_id, updated_at) "
                           "VALUES (?, 1, ?, ?, ?)"));
        query.addBindValue(accountId);
        query.addBindValue(blob);
        query.addBindValue(deviceId);
        query.addBindValue(now);
        written = query.exec();
    } else {
        query.prepare(
            QStringLiteral("UPDATE sync_blobs SET version = ?, blob = ?, device_id = ?, updated_at = ? "
                           "WHERE account_id = ? AND version = ?"));
        query.addBindValue(baseVersion + 1);
        query.addBindValue(blob);
        query.addBindValue(deviceId);
        query.addBindValue(now);
        query.addBindValue(accountId);
        query.addBindValue(baseVersion);
        if (!run(query, "update blob"))
            return BlobWrite::Failed;
        written = query.numRowsAffected() == 1;
    }
    if (written) {
        *version = baseVersion + 1;
        return BlobWrite::Stored;
    }
    const QSqlError insertError = query.lastError();
    bool readOk = false;
    const auto current = blobOf(accountId, &readOk);
    if (!readOk)
        return BlobWrite::Failed;
    if (baseVersion == 0 && !current) {
        logError("add blob", insertError);
        return BlobWrite::Failed;
    }
    *version = current ? current->version : 0;
    return BlobWrite::Conflict;
}

std::optional<int> Store::countFailures(FailureScope scope, const QString &key, qint64 since)
{
    QSqlQuery query(database());
    query.prepare(QStringLiteral(
        "SELECT COUNT(*) FROM sign_in_failures WHERE scope = ? AND \"key\" = ? AND \"at\" >= ?"));
    query.addBindValue(scopeName(scope));
    query.addBindValue(key);
    query.addBindValue(since);
    if (!run(query, "count failures") || !query.next())
        return std::nullopt;
    return query.value(0).toInt();
}

bool Store::recordFailure(FailureScope scope, const QString &key, qint64 now)
{
    QSqlQuery query(database());
    query.prepare(QStringLiteral("INSERT INTO sign_in_failures (scope, \"key\", \"at\") VALUES (?, ?, ?)"));
    query.addBindValue(scopeName(scope));
    query.addBindValue(key);
    query.addBindValue(now);
    return run(query, "record failure");
}

void Store::deleteFailuresBefore(qint64 time)
{
    QSqlQuery query(database());
    query.prepare(QStringLiteral("DELETE FROM sign_in_failures WHERE \"at\" < ?"));
    query.addBindValue(time);
    run(query, "purge failures");
}

bool Store::insertReport(Report kind, qint64 now, const QString &address, const QString &body)
{
    QSqlQuery query(database());
    query.prepare(
        kind == Report::Crash
            ? QStringLiteral("INSERT INTO crash_reports (received_at, address, body) VALUES (?, ?, ?)")
            : QStringLiteral("INSERT INTO test_logs (received_at, address, body) VALUES (?, ?, ?)"));
    query.addBindValue(now);
    query.addBindValue(address);
    query.addBindValue(body);
    return run(query, "store report");
}

} // namespace veilora::server
