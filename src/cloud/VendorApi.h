#pragma once

#include <QJsonObject>
#include <QNetworkRequest>
#include <QObject>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

class QNetworkAccessManager;

namespace veilora {

// What came back from the vendor's web server, before a caller decides what it
// means to it (the account and sync map it to their own typed errors).
struct VendorResponse
{
    enum class Outcome
    {
        http,      // an HTTP answer: `status` and `body` are set
        notHTTP,   // something answered, but not over HTTP
        transport, // no answer: offline, time-out, TLS failure; `failure` says which
    };
    Outcome outcome = Outcome::transport;
    int status = 0;
    // The body as a JSON object; a body that is not one reads as the empty object.
    QJsonObject body;
    QString failure;

    bool isSuccess() const { return outcome == Outcome::http && status >= 200 && status <= 299; }
};

// The request form of every call to the vendor's web server: `<base>/api/<path>`,
// 60 s time-out, "Authorization: Bearer" when a token is given, compact JSON
// bodies. Main thread only (one shared network access manager).
namespace VendorApi {

inline constexpr int timeoutMs = 60 * 1000;

// `<base>/api/<path>`; an inner slash in `path` stays ("sync/veilora").
QUrl apiURL(const QString &path);

QNetworkRequest request(const QUrl &url, const std::optional<QString> &token, bool jsonBody);

// Sends and calls `done` on the main thread, unless `owner` is gone by then.
void send(QObject *owner, const QByteArray &method, const QString &path, const std::optional<QString> &token,
          const std::optional<QJsonObject> &body, std::function<void(const VendorResponse &)> done);

QNetworkAccessManager &network();

} // namespace VendorApi

} // namespace veilora
