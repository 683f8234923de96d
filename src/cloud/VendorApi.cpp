#include "VendorApi.h"

#include "VendorJson.h"
#include "platform/VendorServer.h"

#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>

namespace veilora::VendorApi {

void send(QObject *owner, const QByteArray &method, const QString &path, const std::optional<QString> &token,
          const std::optional<QJsonObject> &body, std::function<void(const VendorResponse &)> done)
{
    const QByteArray payload = body ? QJsonDocument(*body).toJson(QJsonDocument::Compact) : QByteArray();
    QNetworkReply *reply = VendorServer::network().sendCustomRequest(
        VendorServer::request(VendorServer::apiURL(path), token, body.has_value()), method, payload);
    QObject::connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
    QObject::connect(reply, &QNetworkReply::finished, owner, [reply, done = std::move(done)] {
        VendorResponse response;
        const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
        if (status.isValid()) {
            response.outcome = VendorResponse::Outcome::http;
            response.status = status.toInt();
            response.body = VendorJson::parseObject(reply->readAll());
        } else if (reply->error() != QNetworkReply::NoError) {
            response.outcome = VendorResponse::Outcome::transport;
            response.failure = reply->errorString();
        } else {
            response.outcome = VendorResponse::Outcome::notHTTP;
        }
        done(response);
    });
}

} // namespace veilora::VendorApi
