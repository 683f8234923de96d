#include "TestBrowser.h"

#include "TestServer.h"

#include <QEventLoop>
#include <QList>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPair>
#include <QRegularExpression>
#include <QSslConfiguration>
#include <QTimer>

namespace veilora::test {

namespace {

struct Answer
{
    int status = 0;
    QByteArray body;
    QByteArray location;
};

Answer exchange(QNetworkAccessManager &network, const QUrl &url, const QByteArray &verb,
                const QByteArray &body)
{
    QNetworkRequest request(url);
    QSslConfiguration ssl = QSslConfiguration::defaultConfiguration();
    ssl.addCaCertificates(TestServer::caCertificates());
    request.setSslConfiguration(ssl);
    // Like a browser, but the app's own scheme is where the test takes over.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    if (verb == "POST")
        request.setHeader(QNetworkRequest::ContentTypeHeader,
                          QByteArray("application/x-www-form-urlencoded"));
    QNetworkReply *reply = network.sendCustomRequest(request, verb, body);
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(60000, &loop, &QEventLoop::quit);
    loop.exec();
    Answer answer;
    answer.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    answer.body = reply->readAll();
    answer.location = reply->rawHeader("Location");
    if (!reply->isFinished())
        reply->abort();
    reply->deleteLater();
    return answer;
}

QString unescaped(QString text)
{
    text.replace(QLatin1StringView("&quot;"), QLatin1StringView("\""));
    text.replace(QLatin1StringView("&#39;"), QLatin1StringView("'"));
    text.replace(QLatin1StringView("&lt;"), QLatin1StringView("<"));
    text.replace(QLatin1StringView("&gt;"), QLatin1StringView(">"));
    text.replace(QLatin1StringView("&amp;"), QLatin1StringView("&"));
    return text;
}

QString attribute(const QString &tag, const QString &name)
{
    const QRegularExpression pattern(QStringLiteral("\\b%1=\"([^\"]*)\"").arg(name));
    const auto match = pattern.match(tag);
    return match.hasMatch() ? unescaped(match.captured(1)) : QString();
}

} // namespace

BrowserResult signInThroughPage(const QUrl &connectUrl, const QString &email, const QString &password)
{
    QNetworkAccessManager network;
    const Answer page = exchange(network, connectUrl, "GET", {});
    const QString html = QString::fromUtf8(page.body);
    static const QRegularExpression formTag(QStringLiteral("<form\\b[^>]*>"));
    static const QRegularExpression inputTag(QStringLiteral("<input\\b[^>]*>"));
    const auto form = formTag.match(html);

    QList<QPair<QString, QString>> fields;
    bool hasEmail = false;
    bool hasPassword = false;
    for (auto it = inputTag.globalMatch(html); it.hasNext();) {
        const QString tag = it.next().captured(0);
        const QString name = attribute(tag, QStringLiteral("name"));
        if (name.isEmpty() || attribute(tag, QStringLiteral("type")) == QLatin1StringView("submit"))
            continue;
        QString value = attribute(tag, QStringLiteral("value"));
        if (name == QLatin1StringView("email")) {
            hasEmail = true;
            value = email;
        } else if (name == QLatin1StringView("password")) {
            hasPassword = attribute(tag, QStringLiteral("type")) == QLatin1StringView("password");
            value = password;
        }
        fields.append({name, value});
    }
    if (page.status != 200 || !form.hasMatch() || !hasEmail || !hasPassword)
        return {page.status, QUrl(), html};

    QByteArray body;
    for (const auto &[name, value] : fields)
        body += (body.isEmpty() ? "" : "&") + QUrl::toPercentEncoding(name) + '=' +
                QUrl::toPercentEncoding(value);
    const QString action = attribute(form.captured(0), QStringLiteral("action"));
    const Answer answer = exchange(network, connectUrl.resolved(QUrl(action)), "POST", body);
    BrowserResult result{answer.status, QUrl(), QString::fromUtf8(answer.body)};
    if (!answer.location.isEmpty())
        result.location = QUrl::fromEncoded(answer.location);
    return result;
}

} // namespace veilora::test
