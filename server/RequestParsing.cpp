#include "RequestParsing.h"

#include <QCryptographicHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <cmath>

namespace veilora::server {

namespace {

bool isBase64UrlChar(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= 'A' && u <= 'Z') || (u >= 'a' && u <= 'z') || (u >= '0' && u <= '9') || u == '-' || u == '_';
}

bool allBase64Url(QStringView text)
{
    for (const QChar c : text) {
        if (!isBase64UrlChar(c))
            return false;
    }
    return true;
}

// A JSON string field that is present and a string; anything else makes the body malformed.
std::optional<QString> stringField(const QJsonObject &object, QLatin1StringView name)
{
    const QJsonValue value = object.value(name);
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

bool isUsableDeviceId(const QString &deviceId)
{
    return !deviceId.isEmpty() && deviceId.size() <= maxDeviceIdLength && !deviceId.contains(QChar(0));
}

std::optional<QJsonObject> parseObject(const QByteArray &body)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return document.object();
}

} // namespace

QMap<QString, QString> parseFormBody(const QByteArray &body)
{
    QMap<QString, QString> fields;
    for (const QByteArray &pair : body.split('&')) {
        if (pair.isEmpty())
            continue;
        const qsizetype equals = pair.indexOf('=');
        QByteArray name = equals < 0 ? pair : pair.left(equals);
        QByteArray value = equals < 0 ? QByteArray() : pair.mid(equals + 1);
        name.replace('+', ' ');
        value.replace('+', ' ');
        const QString key = QString::fromUtf8(QByteArray::fromPercentEncoding(name));
        if (!fields.contains(key))
            fields.insert(key, QString::fromUtf8(QByteArray::fromPercentEncoding(value)));
    }
    return fields;
}

bool isValidChallenge(QStringView challenge)
{
    return challenge.size() == 43 && allBase64Url(challenge);
}

bool isValidState(QStringView state)
{
    return !state.isEmpty() && state.size() <= 128 && allBase64Url(state);
}

bool isValidVerifier(QStringView verifier)
{
    if (verifier.size() < 43 || verifier.size() > 128)
        return false;
    for (const QChar c : verifier) {
        if (!isBase64UrlChar(c) && c != u'.' && c != u'~')
            return false;
    }
    return true;
}

QString challengeForVerifier(const QString &verifier)
{
    const QByteArray digest = QCryptographicHash::hash(verifier.toUtf8(), QCryptographicHash::Sha256);
    return QString::fromLatin1(
        digest.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

std::optional<ConnectParameters> checkConnectParameters(const QString &app, const QString &challenge,
                                                        const QString &state)
{
    if (app != QLatin1String("veilora") || !isValidChallenge(challenge) || !isValidState(state))
        return std::nullopt;
    return ConnectParameters{app, challenge, state};
}

std::optional<ConnectParameters> parseConnectQuery(const QUrlQuery &query)
{
    return checkConnectParameters(query.queryItemValue(QStringLiteral("app"), QUrl::FullyDecoded),
                                  query.queryItemValue(QStringLiteral("challenge"), QUrl::FullyDecoded),
                                  query.queryItemValue(QStringLiteral("state"), QUrl::FullyDecoded));
}

std::optional<QString> parseBearer(const QByteArray &header)
{
    const QByteArray trimmed = header.trimmed();
    constexpr QByteArrayView scheme("bearer ");
    if (trimmed.size() <= scheme.size() || !trimmed.left(scheme.size()).toLower().startsWith(scheme))
        return std::nullopt;
    const QString token = QString::fromLatin1(trimmed.mid(scheme.size()).trimmed());
    // Every token we hand out is 32 random bytes in unpadded base64url.
    if (token.size() != 43 || !allBase64Url(token))
        return std::nullopt;
    return token;
}

TokenRequestParse parseTokenRequest(const QByteArray &body)
{
    TokenRequestParse result;
    const auto object = parseObject(body);
    const auto code = object ? stringField(*object, QLatin1StringView("code")) : std::nullopt;
    const auto verifier = object ? stringField(*object, QLatin1StringView("verifier")) : std::nullopt;
    const auto deviceId = object ? stringField(*object, QLatin1StringView("deviceId")) : std::nullopt;
    if (!code || !verifier || !deviceId || !isUsableDeviceId(*deviceId)) {
        result.problem = BodyProblem::Malformed;
        return result;
    }
    result.request = {*code, *verifier, *deviceId};
    return result;
}

SyncUploadParse parseSyncUpload(const QByteArray &body)
{
    SyncUploadParse result;
    result.problem = BodyProblem::Malformed;
    const auto object = parseObject(body);
    if (!object)
        return result;
    const auto blob = stringField(*object, QLatin1StringView("blob"));
    const auto deviceId = stringField(*object, QLatin1StringView("deviceId"));
    const QJsonValue base = object->value(QLatin1StringView("baseVersion"));
    if (!blob || !deviceId || !isUsableDeviceId(*deviceId) || !base.isDouble())
        return result;
    // JSON has only doubles; a version must be a whole number a double still holds exactly.
    const double number = base.toDouble();
    if (!std::isfinite(number) || number < 0 || number > 9007199254740991.0 || std::floor(number) != number)
        return result;
    // PostgreSQL text cannot hold NUL, and a settings blob never needs one.
    if (blob->contains(QChar(0)))
        return result;
    if (blob->toUtf8().size() > maxBlobBytes) {
        result.problem = BodyProblem::TooLarge;
        return result;
    }
    result.problem = BodyProblem::None;
    result.upload = {*blob, static_cast<qint64>(number), *deviceId};
    return result;
}

bool isJsonObject(const QByteArray &body)
{
    return parseObject(body).has_value();
}

std::optional<QString> feedFileName(const QString &encodedPath)
{
    const QLatin1StringView prefix("/feed/");
    if (!encodedPath.startsWith(prefix))
        return std::nullopt;
    const QString name =
        QString::fromUtf8(QByteArray::fromPercentEncoding(encodedPath.mid(prefix.size()).toUtf8()));
    if (!isSafeFeedName(name))
        return std::nullopt;
    return name;
}

bool isSafeFeedName(const QString &name)
{
    if (name.isEmpty() || name.size() > 255 || name.startsWith(u'.'))
        return false;
    for (const QChar c : name) {
        if (c == u'/' || c == u'\\' || c.unicode() < 0x20 || c == QChar(0x7f) ||
            c == QChar::ReplacementCharacter)
            return false;
    }
    return !name.contains(QLatin1StringView(".."));
}

QByteArray feedContentType(const QString &name)
{
    if (name.endsWith(QLatin1StringView(".xml"), Qt::CaseInsensitive))
        return "application/xml";
    if (name.endsWith(QLatin1StringView(".deb"), Qt::CaseInsensitive))
        return "application/vnd.debian.binary-package";
    return "application/octet-stream";
}

} // namespace veilora::server
