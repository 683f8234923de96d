#include "Reply.h"

#include <QJsonDocument>

namespace veilora::server {

Reply Reply::json(int status, const QJsonObject &object)
{
    // Answers carry tokens and settings: no cache anywhere may keep them.
    return Reply{status,
                 "application/json",
                 QJsonDocument(object).toJson(QJsonDocument::Compact),
                 {{"Cache-Control", "no-store"}}};
}

Reply Reply::error(int status, const char *code)
{
    return json(status, QJsonObject{{QStringLiteral("error"), QString::fromLatin1(code)}});
}

Reply Reply::html(int status, const QByteArray &page)
{
    return Reply{status,
                 "text/html; charset=utf-8",
                 page,
                 {{"Cache-Control", "no-store"},
                  {"Content-Security-Policy", "default-src 'none'; style-src 'unsafe-inline'; form-action "
                                              "'self' veilora:; frame-ancestors 'none'"},
                  {"X-Frame-Options", "DENY"},
                  {"Referrer-Policy", "no-referrer"}}};
}

} // namespace veilora::server
