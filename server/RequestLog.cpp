#include "RequestLog.h"

namespace veilora::server {

namespace {

// Printable ASCII only, and not too much of it: the path comes from the client.
QByteArray printable(const QByteArray &text, qsizetype limit)
{
    QByteArray out;
    for (const char c : text.left(limit)) {
        const auto u = static_cast<unsigned char>(c);
        out += (u > 0x20 && u < 0x7f) ? c : '?';
    }
    if (text.size() > limit)
        out += "...";
    return out;
}

} // namespace

QByteArray requestLogLine(const QDateTime &time, const QByteArray &method, const QString &encodedPath,
                          int status, const QString &address)
{
    QByteArray path = encodedPath.toUtf8();
    if (const qsizetype mark = path.indexOf('?'); mark >= 0)
        path.truncate(mark);
    return time.toUTC().toString(Qt::ISODateWithMs).toLatin1() + ' ' + printable(method, 16) + ' ' +
           printable(path.isEmpty() ? QByteArray("/") : path, 200) + ' ' + QByteArray::number(status) + ' ' +
           printable(address.toLatin1(), 64) + '\n';
}

} // namespace veilora::server
