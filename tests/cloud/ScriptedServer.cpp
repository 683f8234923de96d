#include "ScriptedServer.h"

#include <QHttpServerResponder>
#include <QJsonDocument>
#include <QTcpServer>
#include <QTcpSocket>

namespace veilora::test {

namespace {

QByteArray methodName(QHttpServerRequest::Method method)
{
    switch (method) {
    case QHttpServerRequest::Method::Get:
        return "GET";
    case QHttpServerRequest::Method::Put:
        return "PUT";
    case QHttpServerRequest::Method::Post:
        return "POST";
    case QHttpServerRequest::Method::Delete:
        return "DELETE";
    default:
        return "OTHER";
    }
}

} // namespace

QJsonObject ScriptedServer::Request::json() const
{
    return QJsonDocument::fromJson(body).object();
}

ScriptedServer::ScriptedServer()
{
    m_clock.start();
    m_listener->listen(QHostAddress::LocalHost, 0);
    m_port = m_listener->serverPort();
    bind(m_listener);
}

ScriptedServer &ScriptedServer::shared()
{
    static ScriptedServer *server = [] {
        auto *made = new ScriptedServer;
        qputenv("VEILORA_SERVER_URL", made->baseUrl().toString().toUtf8());
        return made;
    }();
    return *server;
}

QUrl ScriptedServer::baseUrl() const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(m_port));
}

void ScriptedServer::answer(const QByteArray &method, const QString &path, std::vector<Answer> answers)
{
    std::erase_if(m_scripts,
                  [&](const Script &script) { return script.method == method && script.path == path; });
    m_scripts.push_back({method, path, std::deque<Answer>(answers.begin(), answers.end())});
}

void ScriptedServer::goOffline()
{
    // Nobody listens any more, and open connections end: a refused connection.
    m_offline = true;
    m_listener->close();
}

void ScriptedServer::reset()
{
    m_scripts.clear();
    requests.clear();
    if (m_offline) {
        m_offline = false;
        m_listener->listen(QHostAddress::LocalHost, m_port);
    }
}

std::vector<ScriptedServer::Request> ScriptedServer::requestsTo(const QByteArray &method,
                                                                const QString &path) const
{
    std::vector<Request> matching;
    for (const Request &request : requests) {
        if (request.method == method && request.path == path)
            matching.push_back(request);
    }
    return matching;
}

bool ScriptedServer::handleRequest(const QHttpServerRequest &request, QTcpSocket *socket)
{
    if (m_offline) {
        socket->abort();
        return true;
    }
    Request recorded{methodName(request.method()),  request.url().path(), request.value("Authorization"),
                     request.value("Content-Type"), request.body(),       m_clock.elapsed()};
    requests.push_back(recorded);
    Answer answer{404, R"({"error":"not_found"})"};
    for (Script &script : m_scripts) {
        if (script.method == recorded.method && script.path == recorded.path && !script.answers.empty()) {
            answer = script.answers.front();
            if (script.answers.size() > 1)
                script.answers.pop_front();
        }
    }
    makeResponder(request, socket)
        .write(answer.body, "application/json", QHttpServerResponder::StatusCode(answer.status));
    return true;
}

void ScriptedServer::missingHandler(const QHttpServerRequest &request, QTcpSocket *socket)
{
    makeResponder(request, socket).write(QHttpServerResponder::StatusCode::NotFound);
}

} // namespace veilora::test
