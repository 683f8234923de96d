#include "VendorApi.h"

#include "CloudConfig.h"
#include "VendorJson.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QSslConfiguration>

namespace veilora::VendorApi {

QUrl apiURL(const QString &path)
{
    QUrl url = CloudConfig::baseURL();
    url.setPath(QStringLiteral("/api/") + path);
    return url;
}

QNetworkRequest request(const QUrl &url, const std::optional<QString> &token, bool jsonBody)
{
    QNetworkRequest request(url);
    request.setTransferTimeout(timeoutMs);
    if (token)
        request.setRawHeader("Authorization", "Bearer " + token->toUtf8());
    if (jsonBody)
        request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    if (const auto &authorities = CloudConfig::extraCertificateAuthorities(); !authorities.isEmpty()) {
        QSslConfiguration tls = request.sslConfiguration();
        tls.addCaCertificates(authorities);
        request.setSslConfiguration(tls);
    }
    return request;
}

void send(QObject *owner, const QByteArray &method, const QString &path, const std::optional<QString> &token,
          const std::optional<QJsonObject> &body, std::function<void(const VendorResponse &)> done)
{
    const QByteArray payload = body ? QJsonDocument(*body).toJson(QJsonDocument::Compact) : QByteArray();
    QNetworkReply *reply =
        network().sendCustomRequest(request(apiURL(path), token, body.has_value()), method, payload);
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

QNetworkAccessManager &network()
{
    static QNetworkAccessManager *manager = new QNetworkAccessManager(QCoreApplication::instance());
    return *manager;
}

} // namespace veilora::VendorApi
