#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <optional>

namespace veilora {

// Reading what the vendor's web server answers. Its answers are outside data:
// anything that is not what we asked for reads as absent, never as an error.
namespace VendorJson {

// A body that is not valid JSON, or whose top level is not an object, is the empty object.
QJsonObject parseObject(const QByteArray &body);

// A JSON number that is a whole number in the range a version can have.
std::optional<qint64> integer(const QJsonValue &value);

// The member's text, or the empty string when it is missing or not a string.
QString stringOrEmpty(const QJsonObject &object, const QString &key);

} // namespace VendorJson

} // namespace veilora
