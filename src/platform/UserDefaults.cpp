#include "UserDefaults.h"

#include "FilePrivacy.h"
#include "platform/EventLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLockFile>
#include <QSaveFile>
#include <QStandardPaths>

namespace veilora {

namespace {

const QString formatName = QStringLiteral("veilora-defaults");
constexpr int formatVersion = 1;

QJsonObject encode(const QVariant &value)
{
    QJsonObject entry;
    switch (value.typeId()) {
    case QMetaType::Bool:
        entry[QStringLiteral("type")] = QStringLiteral("bool");
        entry[QStringLiteral("value")] = value.toBool();
        break;
    case QMetaType::LongLong:
        // As text: a JSON number is a double and would round integers past 2^53.
        entry[QStringLiteral("type")] = QStringLiteral("integer");
        entry[QStringLiteral("value")] = QString::number(value.toLongLong());
        break;
    case QMetaType::Double:
        entry[QStringLiteral("type")] = QStringLiteral("float");
        entry[QStringLiteral("value")] = value.toDouble();
        break;
    case QMetaType::QString:
        entry[QStringLiteral("type")] = QStringLiteral("string");
        entry[QStringLiteral("value")] = value.toString();
        break;
    case QMetaType::QDateTime:
        entry[QStringLiteral("type")] = QStringLiteral("date");
        entry[QStringLiteral("value")] = value.toDateTime().toUTC().toString(Qt::ISODateWithMs);
        break;
    case QMetaType::QStringList:
        entry[QStringLiteral("type")] = QStringLiteral("array");
        entry[QStringLiteral("value")] = QJsonArray::fromStringList(value.toStringList());
        break;
    default:
        break;
    }
    return entry;
}

std::optional<QVariant> decode(const QJsonValue &json)
{
    if (!json.isObject())
        return std::nullopt;
    const QJsonObject entry = json.toObject();
    const QString type = entry.value(QStringLiteral("type")).toString();
    const QJsonValue value = entry.value(QStringLiteral("value"));
    if (type == QLatin1String("bool") && value.isBool())
        return QVariant(value.toBool());
    if (type == QLatin1String("integer") && value.isString()) {
        bool ok = false;
        const qlonglong n = value.toString().toLongLong(&ok);
        if (ok)
            return QVariant(n);
    }
    if (type == QLatin1String("float") && value.isDouble())
        return QVariant(value.toDouble());
    if (type == QLatin1String("string") && value.isString())
        return QVariant(value.toString());
    if (type == QLatin1String("date") && value.isString()) {
        const QDateTime date = QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
        if (date.isValid())
            return QVariant(date);
    }
    if (type == QLatin1String("array") && value.isArray()) {
        QStringList list;
        for (const QJsonValue &item : value.toArray()) {
            if (!item.isString())
                return std::nullopt;
            list.append(item.toString());
        }
        return QVariant(list);
    }
    return std::nullopt;
}

bool isSupported(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::LongLong:
    case QMetaType::Double:
    case QMetaType::QString:
    case QMetaType::QDateTime:
    case QMetaType::QStringList:
        return true;
    default:
        return false;
    }
}

} // namespace

UserDefaults::UserDefaults(QString filePath)
    : m_path(std::move(filePath))
{
    readFile();
}

QString UserDefaults::standardPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/veilora/defaults.json");
}

UserDefaults &UserDefaults::standard()
{
    static UserDefaults defaults(standardPath());
    return defaults;
}

bool UserDefaults::contains(const QString &key) const
{
    QMutexLocker locker(&m_mutex);
    return m_values.contains(key);
}

QStringList UserDefaults::keys() const
{
    QMutexLocker locker(&m_mutex);
    return m_values.keys();
}

QVariant UserDefaults::object(const QString &key) const
{
    QMutexLocker locker(&m_mutex);
    return m_values.value(key);
}

std::optional<bool> UserDefaults::boolValue(const QString &key) const
{
    const QVariant v = object(key);
    return v.typeId() == QMetaType::Bool ? std::optional(v.toBool()) : std::nullopt;
}

std::optional<qint64> UserDefaults::integerValue(const QString &key) const
{
    const QVariant v = object(key);
    return v.typeId() == QMetaType::LongLong ? std::optional<qint64>(v.toLongLong()) : std::nullopt;
}

std::optional<double> UserDefaults::doubleValue(const QString &key) const
{
    const QVariant v = object(key);
    if (v.typeId() == QMetaType::Double || v.typeId() == QMetaType::LongLong)
        return v.toDouble();
    return std::nullopt;
}

std::optional<QString> UserDefaults::stringValue(const QString &key) const
{
    const QVariant v = object(key);
    return v.typeId() == QMetaType::QString ? std::optional(v.toString()) : std::nullopt;
}

std::optional<QDateTime> UserDefaults::dateValue(const QString &key) const
{
    const QVariant v = object(key);
    return v.typeId() == QMetaType::QDateTime ? std::optional(v.toDateTime()) : std::nullopt;
}

std::optional<QStringList> UserDefaults::stringListValue(const QString &key) const
{
    const QVariant v = object(key);
    return v.typeId() == QMetaType::QStringList ? std::optional(v.toStringList()) : std::nullopt;
}

bool UserDefaults::setObject(const QString &key, const QVariant &value)
{
    QVariant normalized = value;
    // Callers naturally hand over an int; it is the same integer type on disk.
    if (value.typeId() == QMetaType::Int || value.typeId() == QMetaType::UInt ||
        value.typeId() == QMetaType::Long)
        normalized = QVariant(value.toLongLong());
    if (!isSupported(normalized))
        return false;
    store(key, normalized);
    return true;
}

void UserDefaults::store(const QString &key, const QVariant &value)
{
    change(key, value);
}

void UserDefaults::remove(const QString &key)
{
    change(key, std::nullopt);
}

void UserDefaults::reload()
{
    QMutexLocker locker(&m_mutex);
    readFile();
}

void UserDefaults::change(const QString &key, const std::optional<QVariant> &value)
{
    QMutexLocker locker(&m_mutex);
    const QFileInfo info(m_path);
    ensurePrivateDirectory(info.absolutePath());
    QLockFile lock(m_path + QStringLiteral(".lock"));
    const bool locked = lock.tryLock(2000);
    if (!locked)
        EventLog::write(QStringLiteral("defaults: lock busy, writing anyway: ") + m_path);
    readFile();
    if (value)
        m_values.insert(key, *value);
    else
        m_values.remove(key);
    m_foreign.remove(key);
    writeFile();
}

void UserDefaults::readFile()
{
    m_values.clear();
    m_foreign = {};
    QFile file(m_path);
    if (!file.exists())
        return;
    if (!file.open(QIODevice::ReadOnly)) {
        EventLog::write(QStringLiteral("defaults: cannot read ") + m_path);
        return;
    }
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(file.readAll(), &error);
    const QJsonObject root = doc.object();
    if (error.error != QJsonParseError::NoError || !doc.isObject() ||
        root.value(QStringLiteral("format")).toString() != formatName ||
        !root.value(QStringLiteral("values")).isObject()) {
        // Keep the unreadable file for the user or support rather than overwrite it.
        const QString aside = m_path + QStringLiteral(".corrupt-") +
                              QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMddHHmmss"));
        file.close();
        QFile::rename(m_path, aside);
        EventLog::write(QStringLiteral("defaults: unreadable file moved to ") + aside);
        return;
    }
    const QJsonObject values = root.value(QStringLiteral("values")).toObject();
    for (auto it = values.begin(); it != values.end(); ++it) {
        if (const auto value = decode(it.value()))
            m_values.insert(it.key(), *value);
        else
            m_foreign.insert(it.key(), it.value());
    }
}

bool UserDefaults::writeFile() const
{
    QJsonObject values = m_foreign;
    for (auto it = m_values.cbegin(); it != m_values.cend(); ++it)
        values.insert(it.key(), encode(it.value()));
    QJsonObject root;
    root[QStringLiteral("format")] = formatName;
    root[QStringLiteral("version")] = formatVersion;
    root[QStringLiteral("values")] = values;
    if (!writePrivateFile(m_path, QJsonDocument(root).toJson(QJsonDocument::Indented))) {
        EventLog::write(QStringLiteral("defaults: cannot write ") + m_path);
        return false;
    }
    return true;
}

} // namespace veilora
