#include "SyncPayload.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <limits>

namespace veilora {

QString SyncPayload::blob() const
{
    // QJsonObject keeps its keys sorted, which makes equal settings equal text.
    QJsonObject object{{QStringLiteral("graceSeconds"), graceSeconds}};
    if (languageCode)
        object.insert(QStringLiteral("languageCode"), *languageCode);
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

std::optional<SyncPayload> SyncPayload::decode(const QString &blob)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(blob.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    const QJsonValue grace = object.value(QStringLiteral("graceSeconds"));
    if (!grace.isDouble())
        return std::nullopt;
    const double seconds = grace.toDouble();
    if (seconds != std::floor(seconds) || seconds < std::numeric_limits<int>::min() ||
        seconds > std::numeric_limits<int>::max())
        return std::nullopt;
    SyncPayload payload;
    payload.graceSeconds = int(seconds);
    const QJsonValue language = object.value(QStringLiteral("languageCode"));
    if (language.isString())
        payload.languageCode = language.toString();
    else if (!language.isUndefined() && !language.isNull())
        return std::nullopt;
    return payload;
}

} // namespace veilora
