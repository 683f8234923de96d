#pragma once

#include "Reply.h"

#include <QAbstractHttpServer>

#include <functional>
#include <vector>

namespace veilora::server {

// Turns HTTP requests into Requests for the routes, enforces the body limits
// and the method table, and logs one line per answer.
class HttpFrontend : public QAbstractHttpServer
{
    Q_OBJECT

public:
    // Nothing the server accepts comes near this; larger bodies get 413 unread by any route.
    static constexpr qsizetype maxBodyBytes = 4 * 1024 * 1024;

    struct Route
    {
        QString path;
        bool prefix = false; // path is a folder: "/feed/" matches "/feed/x"
        QByteArray method;
        qsizetype maxBody = 0;
        std::function<Reply(const Request &)> handler;
    };

    explicit HttpFrontend(QObject *parent = nullptr);

    void addRoute(Route route);
    // Picks the route, checks method and size, and answers.
    Reply answer(const Request &request) const;

protected:
    bool handleRequest(const QHttpServerRequest &request, QTcpSocket *socket) override;
    void missingHandler(const QHttpServerRequest &request, QTcpSocket *socket) override;

private:
    std::vector<Route> m_routes;
};

} // namespace veilora::server
