#include "VendorJson.h"

#include <QJsonDocument>

#include <cmath>

namespace veilora::VendorJson {

QJsonObject parseObject(const QByteArray &body)
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    return document.isObject() ? document.object() : QJsonObject();
}

std::optional<qint64> integer(const QJsonValue &value)
{
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    // Beyond 2^53 a double no longer tells neighbouring integers apart.
    if (!std::isfinite(number) || number != std::floor(number) || std::abs(number) > 9007199254740992.0)
        return std::nullopt;
    return qint64(number);
}

QString stringOrEmpty(const QJsonObject &object, const QString &key)
{
    const QJsonValue value = object.value(key);
    return value.isString() ? value.toString() : QString();
}

} // namespace veilora::VendorJson
