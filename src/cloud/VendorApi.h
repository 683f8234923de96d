#pragma once

#include <QJsonObject>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

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

// The account's and sync's requests to the vendor's web server, in its request
// form (platform/VendorServer). Main thread only.
namespace VendorApi {

// Sends to `<base>/api/<path>` and calls `done` on the main thread, unless
// `owner` is gone by then.
void send(QObject *owner, const QByteArray &method, const QString &path, const std::optional<QString> &token,
          const std::optional<QJsonObject> &body, std::function<void(const VendorResponse &)> done);

} // namespace VendorApi

} // namespace veilora
