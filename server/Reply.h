#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QString>

namespace veilora::server {

// One request as the routes see it: already size-checked, no Qt HTTP types.
struct Request
{
    QByteArray method;
    QString path;        // decoded
    QString encodedPath; // as received, without the query
    QString query;       // encoded
    QByteArray authorization;
    QByteArray body;
    QString address;
};

// What a route answers. The front end writes it and logs its status.
struct Reply
{
    int status = 200;
    QByteArray contentType;
    QByteArray body;
    QList<QPair<QByteArray, QByteArray>> headers;

    static Reply json(int status, const QJsonObject &object);
    static Reply error(int status, const char *code);
    static Reply html(int status, const QByteArray &page);
};

} // namespace veilora::server
