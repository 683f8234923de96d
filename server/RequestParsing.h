#pragma once

// Everything the server reads from a client before it touches the database.
// Only Qt Core is used here, so the fuzz build can compile these files alone.
#include <QByteArray>
#include <QMap>
#include <QString>
#include <QUrlQuery>

#include <optional>

namespace veilora::server {

// Largest settings blob an account may store, in UTF-8 bytes.
inline constexpr qsizetype maxBlobBytes = 64 * 1024;
// Longest device identifier the app may send; it is only ever echoed into the database.
inline constexpr qsizetype maxDeviceIdLength = 256;

// application/x-www-form-urlencoded; the first occurrence of a name wins.
QMap<QString, QString> parseFormBody(const QByteArray &body);

bool isValidChallenge(QStringView challenge);
bool isValidState(QStringView state);
bool isValidVerifier(QStringView verifier);
// base64url(SHA-256(verifier)) without padding: what the app sent as its challenge.
QString challengeForVerifier(const QString &verifier);

struct ConnectParameters
{
    QString app;
    QString challenge;
    QString state;
};
// The app, challenge and state of a sign-in page request, or nothing when any is unusable.
std::optional<ConnectParameters> checkConnectParameters(const QString &app, const QString &challenge,
                                                        const QString &state);
std::optional<ConnectParameters> parseConnectQuery(const QUrlQuery &query);

// The token of an "Authorization: Bearer …" header, when it has the shape of one we issue.
std::optional<QString> parseBearer(const QByteArray &header);

enum class BodyProblem
{
    None,
    Malformed, // not JSON, not an object, or a field of the wrong type
    TooLarge,
};

struct TokenRequest
{
    QString code;
    QString verifier;
    QString deviceId;
};
struct TokenRequestParse
{
    BodyProblem problem = BodyProblem::None;
    TokenRequest request;
};
TokenRequestParse parseTokenRequest(const QByteArray &body);

struct SyncUpload
{
    QString blob;
    qint64 baseVersion = 0;
    QString deviceId;
};
struct SyncUploadParse
{
    BodyProblem problem = BodyProblem::None;
    SyncUpload upload;
};
SyncUploadParse parseSyncUpload(const QByteArray &body);

// True when `body` is one JSON object (crash reports, tester logs).
bool isJsonObject(const QByteArray &body);

// The file name of a "/feed/<name>" path (still percent-encoded as received),
// or nothing when it is not one or could leave the feed folder.
std::optional<QString> feedFileName(const QString &encodedPath);
bool isSafeFeedName(const QString &name);
QByteArray feedContentType(const QString &name);

} // namespace veilora::server
