#include "CloudAccount.h"

#include "Keychain.h"
#include "SignInCallback.h"
#include "VendorJson.h"
#include "platform/EventLog.h"
#include "platform/VendorServer.h"
#include "platform/WebBrowser.h"

#include <QCryptographicHash>
#include <QNetworkAccessManager>
#include <QRandomGenerator>
#include <QUrlQuery>

namespace veilora {

namespace {

const QString tokenKey = QString::fromLatin1(Keychain::tokenKey);
const QString emailKey = QString::fromLatin1(Keychain::emailKey);

void log(const QString &line)
{
    EventLog::write(QStringLiteral("Cloud account: ") + line);
}

QString describe(const CloudAccount::Result &result)
{
    if (const auto *error = std::get_if<CloudAccount::NetworkError>(&result)) {
        switch (error->kind) {
        case CloudAccount::NetworkError::Kind::server:
            return QStringLiteral("status %1").arg(error->status);
        case CloudAccount::NetworkError::Kind::unauthorized:
            return QStringLiteral("unauthorized");
        case CloudAccount::NetworkError::Kind::invalid:
            return QStringLiteral("not an HTTP answer");
        }
    }
    if (const auto *failure = std::get_if<QString>(&result))
        return *failure;
    return QStringLiteral("ok");
}

struct StoredAccount
{
    bool keychainAvailable = false;
    std::optional<QString> token;
    std::optional<QString> email;
};

} // namespace

CloudAccount::CloudAccount(BrowserOpener openInBrowser, QObject *parent)
    : QObject(parent)
    , m_openInBrowser(openInBrowser ? std::move(openInBrowser) : BrowserOpener(openInWebBrowser))
{
    qRegisterMetaType<State>();
    Keychain::async(
        this,
        [] {
            StoredAccount stored;
            stored.keychainAvailable = Keychain::isAvailable();
            if (stored.keychainAvailable) {
                stored.token = Keychain::get(tokenKey);
                stored.email = Keychain::get(emailKey);
            }
            return stored;
        },
        [this](const StoredAccount &stored) {
            m_keychainAvailable = stored.keychainAvailable;
            if (!stored.keychainAvailable)
                log(QStringLiteral("no keyring answers; signed out"));
            Q_EMIT keychainAvailableChanged();
            // The stored token is trusted until the server rejects it.
            if (stored.token)
                setState(State::signedInAs(stored.email.value_or(QString())));
        });
}

CloudAccount &CloudAccount::shared()
{
    static CloudAccount *account = new CloudAccount();
    return *account;
}

void CloudAccount::start()
{
    refresh();
}

void CloudAccount::refresh()
{
    Keychain::async(
        this, [] { return Keychain::get(tokenKey); },
        [this](const std::optional<QString> &token) {
            if (!token)
                return;
            get(QStringLiteral("me"), *token, [this, token = *token](const Result &result) {
                if (const auto *object = std::get_if<QJsonObject>(&result)) {
                    const QString email = VendorJson::stringOrEmpty(*object, QStringLiteral("email"));
                    // A sign-out while the request was out has the last word.
                    Keychain::async(
                        this,
                        [token, email] {
                            if (Keychain::get(tokenKey) != token)
                                return false;
                            Keychain::set(email, emailKey);
                            return true;
                        },
                        [this, email](bool current) {
                            if (current)
                                setState(State::signedInAs(email));
                        });
                    return;
                }
                const auto *error = std::get_if<NetworkError>(&result);
                if (error && error->kind == NetworkError::Kind::unauthorized) {
                    log(QStringLiteral("the server no longer accepts the token; signed out"));
                    Keychain::enqueue([] {
                        Keychain::remove(tokenKey);
                        Keychain::remove(emailKey);
                    });
                    setState(State::signedOut());
                    return;
                }
                log(QStringLiteral("account refresh failed (%1); staying signed in").arg(describe(result)));
            });
        });
}

void CloudAccount::signIn()
{
    const QString verifier = randomURLBase64(32);
    const QString stateValue = randomURLBase64(16);
    // Replacing the pair makes an earlier sign-in's callback useless.
    m_pendingVerifier = verifier;
    m_pendingState = stateValue;
    const QUrl page = connectURL(challenge(verifier), stateValue);
    if (!page.isValid())
        return;
    if (m_openInBrowser(page))
        log(QStringLiteral("sign-in page opened in the browser"));
    else
        log(QStringLiteral("no browser could be started for the sign-in page"));
}

void CloudAccount::handleCallback(const QUrl &url)
{
    const auto callback = SignInCallback::parse(url);
    if (!callback)
        return;
    if (!m_pendingState || !m_pendingVerifier || m_pendingVerifier->isEmpty() ||
        callback->state != *m_pendingState) {
        log(QStringLiteral("sign-in callback ignored: no sign-in waits for it"));
        return;
    }
    const QString verifier = *m_pendingVerifier;
    // Each pair is good for one callback.
    m_pendingVerifier.reset();
    m_pendingState.reset();
    exchange(callback->code, verifier);
}

void CloudAccount::exchange(const QString &code, const QString &verifier)
{
    Keychain::async(
        this, [] { return Keychain::deviceID(); },
        [this, code, verifier](const QString &device) {
            const QJsonObject body{{QStringLiteral("code"), code},
                                   {QStringLiteral("verifier"), verifier},
                                   {QStringLiteral("deviceId"), device}};
            post(QStringLiteral("app/token"), body, std::nullopt, [this](const Result &result) {
                const auto *object = std::get_if<QJsonObject>(&result);
                if (!object || !object->value(QStringLiteral("token")).isString()) {
                    log(QStringLiteral("sign-in failed (%1)")
                            .arg(object ? QStringLiteral("no token in the answer") : describe(result)));
                    setState(State::signedOut());
                    return;
                }
                const QString token = object->value(QStringLiteral("token")).toString();
                const QString email = VendorJson::stringOrEmpty(*object, QStringLiteral("email"));
                // Published only once stored, so that whoever reacts finds the token.
                Keychain::async(
                    this,
                    [token, email] {
                        Keychain::set(token, tokenKey);
                        Keychain::set(email, emailKey);
                        return true;
                    },
                    [this, email](bool) {
                        log(QStringLiteral("signed in"));
                        setState(State::signedInAs(email));
                    });
            });
        });
}

void CloudAccount::signOut()
{
    // The notice needs the token, so it is read before the removal queued after it.
    Keychain::async(
        this, [] { return Keychain::get(tokenKey); },
        [](const std::optional<QString> &token) {
            if (!token)
                return;
            VendorApi::send(&VendorServer::network(), "POST", QStringLiteral("app/logout"), token,
                            QJsonObject(), [](const VendorResponse &) {});
        });
    Keychain::enqueue([] {
        Keychain::remove(tokenKey);
        Keychain::remove(emailKey);
    });
    log(QStringLiteral("signed out"));
    setState(State::signedOut());
}

void CloudAccount::setState(const State &state)
{
    Q_ASSERT(isMainThread());
    m_state = state;
    Q_EMIT stateChanged(m_state);
}

QString CloudAccount::randomURLBase64(int bytes)
{
    QByteArray buffer(bytes, Qt::Uninitialized);
    QRandomGenerator::system()->generate(buffer.begin(), buffer.end());
    return QString::fromLatin1(
        buffer.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

QString CloudAccount::challenge(const QString &verifier)
{
    const QByteArray digest = QCryptographicHash::hash(verifier.toUtf8(), QCryptographicHash::Sha256);
    return QString::fromLatin1(
        digest.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

QUrl CloudAccount::connectURL(const QString &challenge, const QString &state)
{
    QUrl url = VendorServer::baseURL();
    url.setPath(QStringLiteral("/app/connect"));
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("app"), QString::fromLatin1(appName));
    query.addQueryItem(QStringLiteral("challenge"), challenge);
    query.addQueryItem(QStringLiteral("state"), state);
    url.setQuery(query);
    return url;
}

CloudAccount::Result CloudAccount::interpret(const VendorResponse &response)
{
    switch (response.outcome) {
    case VendorResponse::Outcome::transport:
        return response.failure;
    case VendorResponse::Outcome::notHTTP:
        return NetworkError{NetworkError::Kind::invalid};
    case VendorResponse::Outcome::http:
        break;
    }
    if (response.status == 401)
        return NetworkError{NetworkError::Kind::unauthorized, 401};
    if (!response.isSuccess())
        return NetworkError{NetworkError::Kind::server, response.status};
    return response.body;
}

void CloudAccount::get(const QString &path, const QString &token, std::function<void(const Result &)> done)
{
    send("GET", path, token, std::nullopt, std::move(done));
}

void CloudAccount::post(const QString &path, const QJsonObject &body, const std::optional<QString> &token,
                        std::function<void(const Result &)> done)
{
    send("POST", path, token, body, std::move(done));
}

void CloudAccount::send(const QByteArray &method, const QString &path, const std::optional<QString> &token,
                        const std::optional<QJsonObject> &body, std::function<void(const Result &)> done)
{
    VendorApi::send(this, method, path, token, body,
                    [done = std::move(done)](const VendorResponse &response) { done(interpret(response)); });
}

} // namespace veilora
