#include "DatabaseUrl.h"

#include <QUrl>
#include <QUrlQuery>

namespace veilora::server {

namespace {

std::optional<DatabaseUrl> fail(QString *error, const QString &message)
{
    if (error)
        *error = message;
    return std::nullopt;
}

QString decoded(const QString &text)
{
    return QString::fromUtf8(QByteArray::fromPercentEncoding(text.toUtf8()));
}

} // namespace

std::optional<DatabaseUrl> DatabaseUrl::parse(const QString &text, QString *error)
{
    DatabaseUrl url;
    if (text.startsWith(QLatin1StringView("sqlite:"))) {
        url.driver = Driver::Sqlite;
        url.path = text.mid(7);
        if (url.path.startsWith(QLatin1StringView("//")))
            url.path = url.path.mid(2);
        if (url.path.isEmpty())
            return fail(error, QStringLiteral("the sqlite: database address needs a file path"));
        return url;
    }
    QString rest;
    for (const auto scheme : {QLatin1StringView("postgresql://"), QLatin1StringView("postgres://")}) {
        if (text.startsWith(scheme))
            rest = text.mid(scheme.size());
    }
    if (rest.isEmpty())
        return fail(error, QStringLiteral("the database address must start with sqlite: or postgresql://"));
    url.driver = Driver::PostgreSql;

    // Split by hand: QUrl would reject a percent-encoded socket folder as host.
    QString query;
    if (const qsizetype mark = rest.indexOf(u'?'); mark >= 0) {
        query = rest.mid(mark + 1);
        rest.truncate(mark);
    }
    const qsizetype slash = rest.indexOf(u'/');
    if (slash < 0)
        return fail(error, QStringLiteral("the PostgreSQL address needs a database name"));
    url.databaseName = decoded(rest.mid(slash + 1));
    QString authority = rest.left(slash);
    if (const qsizetype at = authority.lastIndexOf(u'@'); at >= 0) {
        const QString userInfo = authority.left(at);
        authority = authority.mid(at + 1);
        const qsizetype colon = userInfo.indexOf(u':');
        url.user = decoded(colon < 0 ? userInfo : userInfo.left(colon));
        if (colon >= 0)
            url.password = decoded(userInfo.mid(colon + 1));
    }
    QString hostPart = authority;
    QString portPart;
    if (authority.startsWith(u'[')) {
        const qsizetype close = authority.indexOf(u']');
        if (close < 0)
            return fail(error, QStringLiteral("the PostgreSQL address has an unclosed [ in its host"));
        hostPart = authority.mid(1, close - 1);
        if (authority.mid(close + 1).startsWith(u':'))
            portPart = authority.mid(close + 2);
    } else if (const qsizetype colon = authority.lastIndexOf(u':'); colon >= 0) {
        hostPart = authority.left(colon);
        portPart = authority.mid(colon + 1);
    }
    url.host = decoded(hostPart);
    if (!portPart.isEmpty()) {
        bool ok = false;
        url.port = portPart.toInt(&ok);
        if (!ok || url.port <= 0 || url.port > 65535)
            return fail(error, QStringLiteral("the PostgreSQL address has an invalid port"));
    }
    const QUrlQuery options(query);
    for (const auto &[key, value] : options.queryItems(QUrl::FullyDecoded)) {
        if (key == QLatin1StringView("host"))
            url.host = value;
        else if (key == QLatin1StringView("port"))
            url.port = value.toInt();
        else if (key == QLatin1StringView("user"))
            url.user = value;
        else
            return fail(error, QStringLiteral("unknown PostgreSQL address option: %1").arg(key));
    }
    if (url.databaseName.isEmpty() || url.databaseName.contains(u'/'))
        return fail(error, QStringLiteral("the PostgreSQL address needs a database name"));
    return url;
}

QString DatabaseUrl::qtDriver() const
{
    return driver == Driver::Sqlite ? QStringLiteral("QSQLITE") : QStringLiteral("QPSQL");
}

} // namespace veilora::server
