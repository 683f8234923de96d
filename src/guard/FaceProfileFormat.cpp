#include "FaceProfileFormat.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborStreamReader>
#include <QCborValue>
#include <QtEndian>

namespace veilora {

namespace {

const QByteArray magic = QByteArrayLiteral("VLFP");
constexpr char formatVersion = 1;

QByteArray encodeValues(const std::vector<float> &values)
{
    QByteArray bytes(static_cast<qsizetype>(values.size() * sizeof(float)), Qt::Uninitialized);
    for (size_t i = 0; i < values.size(); ++i)
        qToLittleEndian(values[i], bytes.data() + i * sizeof(float));
    return bytes;
}

std::optional<FeaturePrint> decodePrint(const QCborValue &value)
{
    if (!value.isMap())
        return std::nullopt;
    const QCborMap map = value.toMap();
    const QCborValue model = map.value(QLatin1String("model"));
    const QCborValue values = map.value(QLatin1String("values"));
    if (!model.isString() || !values.isByteArray())
        return std::nullopt;
    const QByteArray bytes = values.toByteArray();
    if (bytes.isEmpty() || bytes.size() % qsizetype(sizeof(float)) != 0)
        return std::nullopt;
    FeaturePrint print{model.toString(),
                       std::vector<float>(static_cast<size_t>(bytes.size()) / sizeof(float))};
    for (size_t i = 0; i < print.values.size(); ++i)
        print.values[i] = qFromLittleEndian<float>(bytes.constData() + i * sizeof(float));
    return print;
}

} // namespace

QByteArray encodeFaceProfile(const std::vector<FeaturePrint> &prints, double threshold)
{
    QCborArray array;
    for (const FeaturePrint &print : prints)
        array.append(QCborMap{{QLatin1String("model"), print.model},
                              {QLatin1String("values"), encodeValues(print.values)}});
    const QCborMap root{{QLatin1String("prints"), array}, {QLatin1String("threshold"), threshold}};
    return magic + QByteArray(1, formatVersion) + root.toCborValue().toCbor();
}

std::optional<FaceProfile> decodeFaceProfile(const QByteArray &data)
{
    if (data.size() <= magic.size() + 1 || !data.startsWith(magic) || data.at(magic.size()) != formatVersion)
        return std::nullopt;
    QCborStreamReader reader(data.mid(magic.size() + 1));
    const QCborValue root = QCborValue::fromCbor(reader);
    if (reader.lastError() != QCborError::NoError || reader.currentOffset() != data.size() - magic.size() - 1)
        return std::nullopt;
    if (!root.isMap())
        return std::nullopt;
    const QCborMap map = root.toMap();
    const QCborValue prints = map.value(QLatin1String("prints"));
    const QCborValue threshold = map.value(QLatin1String("threshold"));
    if (!prints.isArray() || !(threshold.isDouble() || threshold.isInteger()))
        return std::nullopt;
    FaceProfile profile;
    profile.threshold = threshold.toDouble();
    for (const QCborValue &value : prints.toArray()) {
        auto print = decodePrint(value);
        if (!print)
            return std::nullopt;
        profile.prints.push_back(std::move(*print));
    }
    if (profile.prints.empty())
        return std::nullopt;
    return profile;
}

} // namespace veilora
