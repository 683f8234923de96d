#pragma once

#include <QByteArray>
#include <QString>

namespace veilora::server {

// The sign-in page the app opens in the user's browser, and its siblings.
namespace ConnectPage {

struct Form
{
    QString app;
    QString challenge;
    QString state;
    QString email;   // prefilled after a failed attempt
    QString message; // shown above the form when not empty
};

QByteArray form(const Form &form);
QByteArray problem(const QString &title, const QString &message);
// After a sign-in: the browser follows the Location header, the link is for when it does not.
QByteArray redirect(const QByteArray &target);

} // namespace ConnectPage

} // namespace veilora::server
