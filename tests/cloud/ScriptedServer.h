#pragma once

#include <QAbstractHttpServer>
#include <QByteArray>
#include <QElapsedTimer>
#include <QHttpServerRequest>
#include <QJsonObject>
#include <QString>
#include <QTcpServer>
#include <QUrl>

#include <deque>
#include <functional>
#include <vector>

namespace veilora::test {

// A plain-HTTP server on loopback whose answers each test writes, for the
// answers the real server never gives (an empty object, a page that is not JSON,
// a missing version, a 404) and for exact sequences of requests. Every request
// is recorded with its arrival time.
class ScriptedServer : public QAbstractHttpServer
{
public:
    struct Request
    {
        QByteArray method; // "GET", "PUT", "POST"
        QString path;
        QByteArray authorization;
        QByteArray contentType;
        QByteArray body;
        qint64 atMs = 0;

        QJsonObject json() const;
    };
    struct Answer
    {
        int status = 200;
        QByteArray body = "{}";
    };
    using Handler = std::function<Answer(const Request &)>;

    ScriptedServer();

    // The process's vendor server: made on first use, and named in
    // VEILORA_SERVER_URL before any cloud class reads that.
    static ScriptedServer &shared();

    quint16 port() const { return m_port; }
    QUrl baseUrl() const;

    // Answers for a method and path, used in order; the last one repeats.
    void answer(const QByteArray &method, const QString &path, std::vector<Answer> answers);
    // Closes the listening socket and every connection: the server is offline.
    void goOffline();
    void reset();

    std::vector<Request> requests;
    std::vector<Request> requestsTo(const QByteArray &method, const QString &path) const;
    qint64 nowMs() const { return m_clock.elapsed(); }

protected:
    bool handleRequest(const QHttpServerRequest &request, QTcpSocket *socket) override;
    void missingHandler(const QHttpServerRequest &request, QTcpSocket *socket) override;

private:
    struct Script
    {
        QByteArray method;
        QString path;
        std::deque<Answer> answers;
    };
    std::vector<Script> m_scripts;
    QTcpServer *m_listener = new QTcpServer(this);
    quint16 m_port = 0;
    bool m_offline = false;
    QElapsedTimer m_clock;
};

} // namespace veilora::test
