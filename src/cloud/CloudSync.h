#pragma once

#include "VendorApi.h"

#include <QJsonObject>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>
#include <variant>

class QTimer;

namespace veilora {

class CloudAccount;
class SyncedPreferences;
class UserDefaults;

// Keeps the interface language and the grace delay equal across the user's
// computers. The server holds one opaque blob per account with a version; this
// uploads a snapshot 2 s after local changes, downloads whenever the account
// publishes a signed-in state and when sync is switched on, and settles a
// rejected upload (409) by taking the server's copy.
//
// Main thread only. Requests suspend a pass; two passes may interleave, and the
// later writer of the base version and last blob wins.
class CloudSync : public QObject
{
    Q_OBJECT
public:
    static constexpr const char *enabledKey = "cloudSyncEnabled";
    static constexpr const char *baseVersionKey = "cloudSyncBaseVersion";
    static constexpr const char *lastBlobKey = "cloudSyncLastBlob";
    static constexpr const char *resourcePath = "sync/veilora";
    static constexpr int debounceMs = 2000;

    enum class Status
    {
        idle,
        syncing,
        error,
    };
    Q_ENUM(Status)

    struct SyncError
    {
        enum class Kind
        {
            http, // another status outside 200–299 (0: not an HTTP answer)
            conflict,
            unauthorized,
        };
        Kind kind;
        int status = 0;
    };
    using Result = std::variant<QJsonObject, SyncError, QString>;

    CloudSync(SyncedPreferences &preferences, CloudAccount &account, UserDefaults &defaults,
              QObject *parent = nullptr);

    // Over the application's settings, guard and account; made on first use.
    static CloudSync &shared();

    void start();

    bool enabled() const { return m_enabled; }
    void setEnabled(bool enabled);
    Status status() const { return m_status; }

    static Result interpret(const VendorResponse &response);

Q_SIGNALS:
    void enabledChanged(bool enabled);
    void statusChanged(veilora::CloudSync::Status status);

private:
    void schedulePush();
    void pushIfChanged();
    QString snapshotBlob() const;
    void push(const QString &blob, const QString &token);
    void commit(const QString &blob, qint64 version);
    void pull(bool force);
    void pullNow(bool force);
    void applyRemote(const QString &blob, qint64 version);
    qint64 baseVersion() const;
    std::optional<QString> lastBlob() const;
    void setStatus(Status status);
    // With the stored token, or not at all when there is none.
    void withToken(std::function<void(const QString &token)> work);
    void request(const QByteArray &method, const QString &token, const std::optional<QJsonObject> &body,
                 std::function<void(const Result &)> done);

    SyncedPreferences &m_preferences;
    CloudAccount &m_account;
    UserDefaults &m_defaults;
    bool m_enabled = true;
    Status m_status = Status::idle;
    bool m_isApplyingRemote = false;
    QTimer *m_pushWork = nullptr;
    bool m_started = false;
};

} // namespace veilora
