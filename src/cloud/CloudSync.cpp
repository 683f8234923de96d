#include "CloudSync.h"

#include "CloudAccount.h"
#include "Keychain.h"
#include "SyncPayload.h"
#include "SyncedPreferences.h"
#include "VendorJson.h"
#include "platform/EventLog.h"
#include "platform/UserDefaults.h"

#include <QJsonValue>
#include <QTimer>

namespace veilora {

namespace {

void log(const QString &line)
{
    EventLog::write(QStringLiteral("Cloud sync: ") + line);
}

QString describe(const CloudSync::Result &result)
{
    if (const auto *error = std::get_if<CloudSync::SyncError>(&result)) {
        switch (error->kind) {
        case CloudSync::SyncError::Kind::http:
            return QStringLiteral("status %1").arg(error->status);
        case CloudSync::SyncError::Kind::conflict:
            return QStringLiteral("conflict");
        case CloudSync::SyncError::Kind::unauthorized:
            return QStringLiteral("unauthorized");
        }
    }
    if (const auto *failure = std::get_if<QString>(&result))
        return *failure;
    return QStringLiteral("ok");
}

bool isError(const CloudSync::Result &result, CloudSync::SyncError::Kind kind)
{
    const auto *error = std::get_if<CloudSync::SyncError>(&result);
    return error && error->kind == kind;
}

} // namespace

CloudSync::CloudSync(SyncedPreferences &preferences, CloudAccount &account, UserDefaults &defaults,
                     QObject *parent)
    : QObject(parent)
    , m_preferences(preferences)
    , m_account(account)
    , m_defaults(defaults)
    , m_enabled(defaults.boolValue(QString::fromLatin1(enabledKey)).value_or(true))
    , m_pushWork(new QTimer(this))
{
    m_pushWork->setSingleShot(true);
    m_pushWork->setInterval(debounceMs);
    connect(m_pushWork, &QTimer::timeout, this, &CloudSync::pushIfChanged);
}

void CloudSync::start()
{
    if (m_started)
        return;
    m_started = true;
    connect(&m_preferences, &SyncedPreferences::settingsWillChange, this, &CloudSync::schedulePush);
    connect(&m_account, &CloudAccount::stateChanged, this, [this](const CloudAccount::State &state) {
        if (state.signedIn)
            pull(false);
    });
    if (m_account.state().signedIn)
        pull(false);
}

void CloudSync::setEnabled(bool enabled)
{
    m_enabled = enabled;
    m_defaults.setBool(QString::fromLatin1(enabledKey), enabled);
    Q_EMIT enabledChanged(enabled);
    if (enabled)
        pull(false);
}

void CloudSync::schedulePush()
{
    // The account publishes signed in exactly while a token is stored; the
    // upload itself reads the keychain again.
    if (!m_enabled || !m_account.state().signedIn || m_isApplyingRemote)
        return;
    m_pushWork->start();
}

void CloudSync::pushIfChanged()
{
    if (!m_enabled)
        return;
    withToken([this](const QString &token) {
        const QString blob = snapshotBlob();
        if (lastBlob() == blob)
            return;
        push(blob, token);
    });
}

QString CloudSync::snapshotBlob() const
{
    return SyncPayload{m_preferences.languageCode(), m_preferences.graceSeconds()}.blob();
}

void CloudSync::push(const QString &blob, const QString &token)
{
    setStatus(Status::syncing);
    Keychain::async(
        this, [] { return Keychain::deviceID(); },
        [this, blob, token](const QString &device) {
            const qint64 base = baseVersion();
            const QJsonObject body{{QStringLiteral("blob"), blob},
                                   {QStringLiteral("baseVersion"), base},
                                   {QStringLiteral("deviceId"), device}};
            request("PUT", token, body, [this, blob](const Result &result) {
                if (const auto *object = std::get_if<QJsonObject>(&result)) {
                    const qint64 stored = baseVersion();
                    const qint64 version =
                        VendorJson::integer(object->value(QStringLiteral("version"))).value_or(stored);
                    log(QStringLiteral("uploaded, version %1").arg(version));
                    commit(blob, version);
                    return;
                }
                if (isError(result, SyncError::Kind::conflict)) {
                    log(QStringLiteral("upload refused as stale; taking the server's copy"));
                    pullNow(true);
                    return;
                }
                log(QStringLiteral("upload failed (%1)").arg(describe(result)));
                setStatus(Status::error);
            });
        });
}

void CloudSync::commit(const QString &blob, qint64 version)
{
    m_defaults.setInteger(QString::fromLatin1(baseVersionKey), version);
    m_defaults.setString(QString::fromLatin1(lastBlobKey), blob);
    setStatus(Status::idle);
}

void CloudSync::pull(bool force)
{
    // Later, so that a pull started inside a state publication runs after it.
    QTimer::singleShot(0, this, [this, force] { pullNow(force); });
}

void CloudSync::pullNow(bool force)
{
    if (!m_enabled)
        return;
    withToken([this, force](const QString &token) {
        setStatus(Status::syncing);
        request("GET", token, std::nullopt, [this, force, token](const Result &result) {
            const auto *object = std::get_if<QJsonObject>(&result);
            if (!object) {
                if (isError(result, SyncError::Kind::unauthorized)) {
                    setStatus(Status::idle);
                    return;
                }
                log(QStringLiteral("download failed (%1)").arg(describe(result)));
                setStatus(Status::error);
                return;
            }
            const qint64 version = VendorJson::integer(object->value(QStringLiteral("version"))).value_or(0);
            const QJsonValue blob = object->value(QStringLiteral("blob"));
            if (version == 0 || !blob.isString()) {
                log(QStringLiteral("the server holds nothing yet; uploading"));
                push(snapshotBlob(), token);
                return;
            }
            const qint64 base = baseVersion();
            if (force || version > base) {
                applyRemote(blob.toString(), version);
                return;
            }
            const QString snapshot = snapshotBlob();
            if (lastBlob() == snapshot) {
                setStatus(Status::idle);
                return;
            }
            // Changes made while offline, or not uploaded yet, go out now.
            push(snapshot, token);
        });
    });
}

void CloudSync::applyRemote(const QString &blob, qint64 version)
{
    if (const auto payload = SyncPayload::decode(blob)) {
        m_isApplyingRemote = true;
        m_preferences.setLanguageCode(payload->languageCode);
        if (payload->graceSeconds >= 1)
            m_preferences.setGraceSeconds(payload->graceSeconds);
        m_isApplyingRemote = false;
        log(QStringLiteral("applied version %1").arg(version));
    } else {
        // Stored as the base all the same, so the same copy is not tried again.
        log(QStringLiteral("version %1 is not a settings record; ignored").arg(version));
    }
    m_defaults.setInteger(QString::fromLatin1(baseVersionKey), version);
    m_defaults.setString(QString::fromLatin1(lastBlobKey), blob);
    setStatus(Status::idle);
}

qint64 CloudSync::baseVersion() const
{
    return m_defaults.integerValue(QString::fromLatin1(baseVersionKey)).value_or(0);
}

std::optional<QString> CloudSync::lastBlob() const
{
    return m_defaults.stringValue(QString::fromLatin1(lastBlobKey));
}

void CloudSync::setStatus(Status status)
{
    m_status = status;
    Q_EMIT statusChanged(status);
}

void CloudSync::withToken(std::function<void(const QString &token)> work)
{
    Keychain::async(
        this, [] { return Keychain::get(QString::fromLatin1(Keychain::tokenKey)); },
        [work = std::move(work)](const std::optional<QString> &token) {
            if (token)
                work(*token);
        });
}

void CloudSync::request(const QByteArray &method, const QString &token,
                        const std::optional<QJsonObject> &body, std::function<void(const Result &)> done)
{
    VendorApi::send(this, method, QString::fromLatin1(resourcePath), token, body,
                    [done = std::move(done)](const VendorResponse &response) { done(interpret(response)); });
}

CloudSync::Result CloudSync::interpret(const VendorResponse &response)
{
    switch (response.outcome) {
    case VendorResponse::Outcome::transport:
        return response.failure;
    case VendorResponse::Outcome::notHTTP:
        return SyncError{SyncError::Kind::http, 0};
    case VendorResponse::Outcome::http:
        break;
    }
    if (response.isSuccess())
        return response.body;
    if (response.status == 401)
        return SyncError{SyncError::Kind::unauthorized, 401};
    if (response.status == 409)
        return SyncError{SyncError::Kind::conflict, 409};
    return SyncError{SyncError::Kind::http, response.status};
}

} // namespace veilora
