#include "HttpFrontend.h"

#include "RequestLog.h"

#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QHttpServerResponse>
#include <QTcpSocket>

#include <cstdio>

namespace veilora::server {

namespace {

QByteArray methodName(QHttpServerRequest::Method method)
{
    switch (method) {
    case QHttpServerRequest::Method::Get:
        return "GET";
    case QHttpServerRequest::Method::Put:
        return "PUT";
    case QHttpServerRequest::Method::Delete:
        return "DELETE";
    case QHttpServerRequest::Method::Post:
        return "POST";
    case QHttpServerRequest::Method::Head:
        return "HEAD";
    case QHttpServerRequest::Method::Options:
        return "OPTIONS";
    case QHttpServerRequest::Method::Patch:
        return "PATCH";
    case QHttpServerRequest::Method::Connect:
        return "CONNECT";
    case QHttpServerRequest::Method::Trace:
        return "TRACE";
    default:
        return "UNKNOWN";
    }
}

QString clientAddress(const QHostAddress &address)
{
    bool isV4 = false;
    const quint32 v4 = address.toIPv4Address(&isV4);
    return isV4 ? QHostAddress(v4).toString() : address.toString();
}

bool matches(const HttpFrontend::Route &route, const QString &path)
{
    return route.prefix ? path.startsWith(route.path) && path.size() > route.path.size() : path == route.path;
}

} // namespace

HttpFrontend::HttpFrontend(QObject *parent)
    : QAbstractHttpServer(parent)
{}

void HttpFrontend::addRoute(Route route)
{
    m_routes.push_back(std::move(route));
}

Reply HttpFrontend::answer(const Request &request) const
{
    if (request.body.size() > maxBodyBytes)
        return Reply::error(413, "too_large");
    QByteArray allowed;
    for (const Route &route : m_routes) {
        if (!matches(route, request.path))
            continue;
        if (route.method != request.method) {
            allowed += (allowed.isEmpty() ? "" : ", ") + route.method;
            continue;
        }
        if (request.body.size() > route.maxBody)
            return Reply::error(413, "too_large");
        return route.handler(request);
    }
    if (allowed.isEmpty())
        return Reply::error(404, "not_found");
    Reply reply = Reply::error(405, "method_not_allowed");
    reply.headers.append(qMakePair(QByteArray("Allow"), allowed));
    return reply;
}

bool HttpFrontend::handleRequest(const QHttpServerRequest &request, QTcpSocket *socket)
{
    const QUrl url = request.url();
    Request parsed{methodName(request.method()),          url.path(QUrl::FullyDecoded),
                   url.path(QUrl::FullyEncoded),          url.query(QUrl::FullyEncoded),
                   request.value("authorization"),        request.body(),
                   clientAddress(request.remoteAddress())};
    // A declared length over the cap is refused even if the body was cut short.
    bool hasLength = false;
    const qint64 declared = request.value("content-length").trimmed().toLongLong(&hasLength);
    const Reply reply =
        hasLength && declared > maxBodyBytes ? Reply::error(413, "too_large") : answer(parsed);

    QHttpServerResponse response(reply.contentType, reply.body,
                                 static_cast<QHttpServerResponder::StatusCode>(reply.status));
    for (const auto &[name, value] : reply.headers)
        response.addHeader(name, value);
    response.write(makeResponder(request, socket));

    const QByteArray line = requestLogLine(QDateTime::currentDateTime(), parsed.method, parsed.encodedPath,
                                           reply.status, parsed.address);
    std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stderr);
    std::fflush(stderr);
    return true;
}

void HttpFrontend::missingHandler(const QHttpServerRequest &request, QTcpSocket *socket)
{
    // Unreachable: handleRequest() answers everything.
    makeResponder(request, socket).write(QHttpServerResponder::StatusCode::NotFound);
}

} // namespace veilora::server
