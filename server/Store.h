#pragma once

#include "DatabaseUrl.h"

#include <QSqlDatabase>
#include <QString>

#include <memory>
#include <optional>

namespace veilora::server {

// The server's only state. Every operation is one statement or guarded by the
// rows it changed, so several server processes can share one database.
class Store
{
public:
    // Connects and brings the schema up to date; nullptr with `error` set when that fails.
    static std::unique_ptr<Store> open(const DatabaseUrl &url, QString *error);
    ~Store();
    Store(const Store &) = delete;
    Store &operator=(const Store &) = delete;

    struct Account
    {
        qint64 id = 0;
        QString email;
        QString passwordHash;
    };
    enum class PasswordChange
    {
        Added,
        Changed,
        Failed,
    };
    PasswordChange setPassword(const QString &email, const QString &passwordHash, qint64 now);
    std::optional<Account> accountByEmail(const QString &email);
    std::optional<QString> emailOfAccount(qint64 accountId);

    bool insertCode(const QString &codeHash, qint64 accountId, const QString &challenge, qint64 expiresAt);
    struct ClaimedCode
    {
        qint64 accountId = 0;
        QString challenge;
    };
    // Marks an unused, unexpired code used and returns it; at most one caller
    // ever gets a given code, whatever the number of processes.
    std::optional<ClaimedCode> claimCode(const QString &codeHash, qint64 now);
    void deleteCodesBefore(qint64 time);

    bool insertToken(const QString &tokenHash, qint64 accountId, const QString &deviceId, qint64 now);
    std::optional<qint64> accountOfToken(const QString &tokenHash);
    bool deleteToken(const QString &tokenHash);

    struct Blob
    {
        qint64 version = 0;
        QString blob;
    };
    // Nothing when the account has no blob; failed reads set `ok` to false.
    std::optional<Blob> blobOf(qint64 accountId, bool *ok = nullptr);
    enum class BlobWrite
    {
        Stored,
        Conflict,
        Failed,
    };
    // Stores when `baseVersion` is the current version; `version` gets the
    // new version on success and the current one on conflict.
    BlobWrite writeBlob(qint64 accountId, qint64 baseVersion, const QString &blob, const QString &deviceId,
                        qint64 now, qint64 *version);

    enum class FailureScope
    {
        Email,
        Address,
    };
    std::optional<int> countFailures(FailureScope scope, const QString &key, qint64 since);
    bool recordFailure(FailureScope scope, const QString &key, qint64 now);
    void deleteFailuresBefore(qint64 time);

    enum class Report
    {
        Crash,
        TestLog,
    };
    bool insertReport(Report kind, qint64 now, const QString &address, const QString &body);

private:
    explicit Store(QString connectionName);
    bool migrate(QString *error);
    QSqlDatabase database() const;

    QString m_connectionName;
    bool m_postgres = false;
};

} // namespace veilora::server
