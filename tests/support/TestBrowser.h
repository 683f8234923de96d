#pragma once

#include <QString>
#include <QUrl>

namespace veilora::test {

struct BrowserResult
{
    int status = 0;
    QUrl location; // the veilora:// redirect when status 302
    QString body;
};

// The test plays the browser: GETs the sign-in page at `connectUrl`, checks
// that it has a form with the fields email and password, POSTs the form with
// these credentials and returns the answer without following a redirect to
// the app's scheme. When the page has no such form, returns the page's own
// status and body. Trusts TestServer::caCertificates().
BrowserResult signInThroughPage(const QUrl &connectUrl, const QString &email, const QString &password);

} // namespace veilora::test
