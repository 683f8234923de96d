#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QMap>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>

namespace veilora {

// The current user's preferences: a typed key–value store persisted as JSON.
//
// Every value keeps its type on disk (Boolean, 64-bit integer, 64-bit float,
// string, date, array of strings), so a typed read of a key that holds another
// type answers "no value" and the caller falls back to its default.
//
// Each change is written through at once: under a lock file the store re-reads
// the file, applies the one change and atomically replaces the file (mode 0600).
// Re-reading before the write keeps changes made meanwhile by other processes of
// the same user, for instance `veilora --defaults write` while the application
// runs. Reads are served from memory; another process's changes become visible at
// the next start or at this process's next write.
//
// Thread-safe.
class UserDefaults
{
public:
    explicit UserDefaults(QString filePath);

    // The application's store: $XDG_CONFIG_HOME/veilora/defaults.json.
    static UserDefaults &standard();
    static QString standardPath();

    QString filePath() const { return m_path; }

    bool contains(const QString &key) const;
    QStringList keys() const;

    // The stored value with its type (bool, qlonglong, double, QString, QDateTime
    // or QStringList); an invalid QVariant when the key is absent.
    QVariant object(const QString &key) const;

    std::optional<bool> boolValue(const QString &key) const;
    std::optional<qint64> integerValue(const QString &key) const;
    std::optional<double> doubleValue(const QString &key) const; // integers read as floats too
    std::optional<QString> stringValue(const QString &key) const;
    std::optional<QDateTime> dateValue(const QString &key) const;
    std::optional<QStringList> stringListValue(const QString &key) const;

    void setBool(const QString &key, bool value) { store(key, QVariant(value)); }
    void setInteger(const QString &key, qint64 value) { store(key, QVariant(qlonglong(value))); }
    void setDouble(const QString &key, double value) { store(key, QVariant(value)); }
    void setString(const QString &key, const QString &value) { store(key, QVariant(value)); }
    void setDate(const QString &key, const QDateTime &value) { store(key, QVariant(value)); }
    void setStringList(const QString &key, const QStringList &value) { store(key, QVariant(value)); }

    // Stores a QVariant of one of the supported types; false (nothing stored)
    // for any other type.
    bool setObject(const QString &key, const QVariant &value);

    void remove(const QString &key);

    // Re-reads the file, picking up other processes' changes.
    void reload();

private:
    void store(const QString &key, const QVariant &value);
    void change(const QString &key, const std::optional<QVariant> &value);
    void readFile();
    bool writeFile() const;

    const QString m_path;
    mutable QMutex m_mutex;
    QMap<QString, QVariant> m_values;
    QJsonObject m_foreign; // entries this version cannot read, kept as they were
};

} // namespace veilora
