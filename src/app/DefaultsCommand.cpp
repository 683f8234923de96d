#include "DefaultsCommand.h"

#include "platform/UserDefaults.h"

#include <QDateTime>

namespace veilora {

namespace {

QString describe(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QMetaType::QDateTime:
        return value.toDateTime().toUTC().toString(Qt::ISODateWithMs);
    case QMetaType::QStringList:
        return QLatin1Char('(') + value.toStringList().join(QStringLiteral(", ")) + QLatin1Char(')');
    case QMetaType::Double:
        return QString::number(value.toDouble(), 'g', 17);
    default:
        return value.toString();
    }
}

std::optional<QVariant> parseValue(const QString &type, const QStringList &words)
{
    if (type == QLatin1String("-array"))
        return QVariant(words);
    if (words.size() != 1)
        return std::nullopt;
    const QString &text = words.first();
    bool ok = false;
    if (type == QLatin1String("-bool")) {
        const QString t = text.toLower();
        if (t == QLatin1String("true") || t == QLatin1String("yes") || t == QLatin1String("1"))
            return QVariant(true);
        if (t == QLatin1String("false") || t == QLatin1String("no") || t == QLatin1String("0"))
            return QVariant(false);
        return std::nullopt;
    }
    if (type == QLatin1String("-int")) {
        const qlonglong n = text.toLongLong(&ok);
        return ok ? std::optional(QVariant(n)) : std::nullopt;
    }
    if (type == QLatin1String("-float")) {
        const double d = text.toDouble(&ok);
        return ok ? std::optional(QVariant(d)) : std::nullopt;
    }
    if (type == QLatin1String("-date")) {
        const QDateTime date = QDateTime::fromString(text, Qt::ISODateWithMs);
        return date.isValid() ? std::optional(QVariant(date)) : std::nullopt;
    }
    if (type == QLatin1String("-string"))
        return QVariant(text);
    // No type given: infer it.
    if (text == QLatin1String("true") || text == QLatin1String("false"))
        return QVariant(text == QLatin1String("true"));
    if (const qlonglong n = text.toLongLong(&ok); ok)
        return QVariant(n);
    if (const double d = text.toDouble(&ok); ok)
        return QVariant(d);
    return QVariant(text);
}

} // namespace

int runDefaultsCommand(const QStringList &args, UserDefaults &defaults, QTextStream &out, QTextStream &err)
{
    const QString verb = args.value(0);
    if (verb == QLatin1String("read") && args.size() <= 2) {
        if (args.size() == 1) {
            for (const QString &key : defaults.keys())
                out << key << " = " << describe(defaults.object(key)) << '\n';
            return 0;
        }
        const QVariant value = defaults.object(args[1]);
        if (!value.isValid()) {
            err << "The key " << args[1] << " does not exist\n";
            return 1;
        }
        out << describe(value) << '\n';
        return 0;
    }
    if (verb == QLatin1String("write") && args.size() >= 3) {
        QStringList words = args.mid(2);
        QString type;
        if (words.first().startsWith(QLatin1Char('-')) && words.size() >= 2)
            type = words.takeFirst();
        const auto value = parseValue(type, words);
        if (!value || !defaults.setObject(args[1], *value)) {
            err << "Cannot write " << args[1] << ": not a valid "
                << (type.isEmpty() ? QStringLiteral("value") : type.mid(1)) << '\n';
            return 1;
        }
        return 0;
    }
    if (verb == QLatin1String("delete") && args.size() == 2) {
        defaults.remove(args[1]);
        return 0;
    }
    err << "usage: veilora --defaults read [KEY]\n"
           "       veilora --defaults write KEY [-bool|-int|-float|-string|-date|-array] VALUE...\n"
           "       veilora --defaults delete KEY\n";
    return 2;
}

} // namespace veilora
