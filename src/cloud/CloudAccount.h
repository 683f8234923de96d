#pragma once

#include "VendorApi.h"

#include <QObject>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>
#include <variant>

namespace veilora {

// Signs the user in to the vendor's web server through their own browser
// (authorization code with a proof key, S256) and keeps the bearer token in the
// keychain. The application never sees the password: the browser brings back a
// code, which only this process can trade, with the secret half of the proof
// key, for a token.
//
// Main thread only. Keychain work runs on the keychain worker and network work
// on the shared network access manager; both come back here before `state`
// changes.
class CloudAccount : public QObject
{
    Q_OBJECT
public:
    struct State
    {
        bool signedIn = false;
        QString email; // may be empty when the server gave none

        static State signedOut() { return {}; }
        static State signedInAs(const QString &email) { return {true, email}; }
        bool operator==(const State &) const = default;
    };

    // The failure of a request that got an answer.
    struct NetworkError
    {
        enum class Kind
        {
            server,       // a status outside 200–299 other than 401
            unauthorized, // 401
            invalid,      // not an HTTP answer
        };
        Kind kind;
        int status = 0;
    };
    // A request's outcome: the answer's object, a typed error, or the transport's failure text.
    using Result = std::variant<QJsonObject, NetworkError, QString>;

    using BrowserOpener = std::function<bool(const QUrl &)>;

    static constexpr const char *appName = "veilora";

    // Reads the keychain (on its worker) and publishes the stored account.
    explicit CloudAccount(BrowserOpener openInBrowser = {}, QObject *parent = nullptr);

    static CloudAccount &shared();

    const State &state() const { return m_state; }
    // Whether the keychain could be reached; without it nothing can be kept, and
    // the account tab says so instead of offering a sign-in.
    std::optional<bool> keychainAvailable() const { return m_keychainAvailable; }

    void start();
    void signIn();
    void handleCallback(const QUrl &url);
    void signOut();

    // Helpers of the proof key: `bytes` random bytes in base64url without
    // padding, and the S256 challenge of a verifier.
    static QString randomURLBase64(int bytes);
    static QString challenge(const QString &verifier);

    // The sign-in page for a challenge and state value.
    static QUrl connectURL(const QString &challenge, const QString &state);

    // Maps a vendor answer to the account's result.
    static Result interpret(const VendorResponse &response);

Q_SIGNALS:
    // After every assignment of the state, also when it did not change.
    void stateChanged(const veilora::CloudAccount::State &state);
    void keychainAvailableChanged();

private:
    void setState(const State &state);
    void refresh();
    void exchange(const QString &code, const QString &verifier);
    void get(const QString &path, const QString &token, std::function<void(const Result &)> done);
    void post(const QString &path, const QJsonObject &body, const std::optional<QString> &token,
              std::function<void(const Result &)> done);
    void send(const QByteArray &method, const QString &path, const std::optional<QString> &token,
              const std::optional<QJsonObject> &body, std::function<void(const Result &)> done);

    BrowserOpener m_openInBrowser;
    State m_state;
    std::optional<bool> m_keychainAvailable;
    std::optional<QString> m_pendingVerifier;
    std::optional<QString> m_pendingState;
};

} // namespace veilora

Q_DECLARE_METATYPE(veilora::CloudAccount::State)
