#include "VendorServer.h"

#include "BundleInfo.h"
#include "EventLog.h"
#include "MainThread.h"

#include <QHostAddress>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslConfiguration>

namespace veilora::VendorServer {

namespace {

bool isLoopback(const QString &host)
{
    if (host.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0)
        return true;
    const QHostAddress address(host);
    return !address.isNull() && address.isLoopback();
}

QUrl resolveBaseURL()
{
    if (const QByteArray text = qgetenv(overrideVariable); !text.isEmpty()) {
        if (const auto url = parseBaseURL(QString::fromUtf8(text))) {
            EventLog::write(QStringLiteral("Vendor server from %1: %2")
                                .arg(QString::fromLatin1(overrideVariable), url->toString()));
            return *url;
        }
        EventLog::write(QStringLiteral("Ignoring %1: not an https origin (or http to a loopback address)")
                            .arg(QString::fromLatin1(overrideVariable)));
    }
    const QString built = BundleInfo::main().serverURL().value_or(QString::fromLatin1(defaultBaseURL));
    const auto url = parseBaseURL(built);
    if (!url)
        qFatal("The build's vendor server address is not an https origin: %s", qPrintable(built));
    return *url;
}

} // namespace

std::optional<QUrl> parseBaseURL(const QString &text)
{
    QString trimmed = text.trimmed();
    while (trimmed.endsWith(QLatin1Char('/')))
        trimmed.chop(1);
    const QUrl url(trimmed, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty() || !url.path().isEmpty() || url.hasQuery() ||
        url.hasFragment() || !url.userInfo().isEmpty())
        return std::nullopt;
    const QString scheme = url.scheme().toLower();
    if (scheme == QLatin1String("https") || (scheme == QLatin1String("http") && isLoopback(url.host())))
        return url;
    return std::nullopt;
}

const QUrl &baseURL()
{
    static const QUrl url = resolveBaseURL();
    return url;
}

QUrl apiURL(const QString &path)
{
    QUrl url = baseURL();
    url.setPath(QStringLiteral("/api/") + path);
    return url;
}

const QList<QSslCertificate> &extraCertificateAuthorities()
{
    static const QList<QSslCertificate> certificates = [] {
        const QString path = qEnvironmentVariable(caVariable);
        if (path.isEmpty())
            return QList<QSslCertificate>();
        const QList<QSslCertificate> read = QSslCertificate::fromPath(path, QSsl::Pem);
        EventLog::write(read.isEmpty() ? QStringLiteral("No certificate authority readable from %1").arg(path)
                                       : QStringLiteral("Trusting %1 certificate authorities from %2 for the "
                                                        "vendor server")
                                             .arg(read.size())
                                             .arg(path));
        return read;
    }();
    return certificates;
}

QNetworkRequest request(const QUrl &url, const std::optional<QString> &token, bool jsonBody)
{
    QNetworkRequest request(url);
    request.setTransferTimeout(timeoutMs);
    if (token)
        request.setRawHeader("Authorization", "Bearer " + token->toUtf8());
    if (jsonBody)
        request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    if (const auto &authorities = extraCertificateAuthorities(); !authorities.isEmpty()) {
        QSslConfiguration tls = request.sslConfiguration();
        tls.addCaCertificates(authorities);
        request.setSslConfiguration(tls);
    }
    return request;
}

QNetworkAccessManager &network()
{
    static QNetworkAccessManager *manager = new QNetworkAccessManager(QCoreApplication::instance());
    return *manager;
}

void postAndForget(const QString &path, const QJsonObject &body)
{
    const QByteArray payload = QJsonDocument(body).toJson(QJsonDocument::Compact);
    const auto post = [path, payload] {
        QNetworkReply *reply = network().post(request(apiURL(path), std::nullopt, true), payload);
        QObject::connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
    };
    if (isMainThread())
        post();
    else
        runOnMain(post);
}

} // namespace veilora::VendorServer
