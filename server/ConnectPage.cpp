#include "ConnectPage.h"

namespace veilora::server::ConnectPage {

namespace {

QString escaped(const QString &text)
{
    return text.toHtmlEscaped().replace(u'\'', QLatin1StringView("&#39;"));
}

QByteArray page(const QString &title, const QString &content)
{
    static const QLatin1StringView style(
        "body{font-family:system-ui,sans-serif;background:#f3f4f6;color:#111827;margin:0;"
        "display:flex;min-height:100vh;align-items:center;justify-content:center}"
        "main{background:#fff;padding:2rem;border-radius:12px;box-shadow:0 2px 12px rgba(0,0,0,.08);"
        "width:min(22rem,90vw)}"
        "h1{font-size:1.3rem;margin:0 0 1rem}"
        "label{display:block;margin:.8rem 0 .3rem;font-size:.9rem}"
        "input[type=email],input[type=password]{width:100%;box-sizing:border-box;padding:.55rem;"
        "border:1px solid #d1d5db;border-radius:6px;font-size:1rem}"
        "button{margin-top:1.2rem;width:100%;padding:.6rem;border:0;border-radius:6px;background:#2563eb;"
        "color:#fff;font-size:1rem;cursor:pointer}"
        ".message{background:#fef2f2;color:#991b1b;padding:.6rem;border-radius:6px;margin-bottom:.5rem}");
    const QString html =
        QStringLiteral("<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
                       "<title>%1</title><style>%2</style></head><body><main>%3</main></body>"
                       "</html>\n")
            .arg(escaped(title), style, content);
    return html.toUtf8();
}

QString hidden(const char *name, const QString &value)
{
    return QStringLiteral("<input type=\"hidden\" name=\"%1\" value=\"%2\">")
        .arg(QLatin1StringView(name), escaped(value));
}

} // namespace

QByteArray form(const Form &form)
{
    QString content = QStringLiteral("<h1>Sign in to Veilora</h1>");
    if (!form.message.isEmpty())
        content += QStringLiteral("<p class=\"message\" role=\"alert\">%1</p>").arg(escaped(form.message));
    content += QStringLiteral("<form method=\"post\" action=\"/app/connect\">") + hidden("app", form.app) +
               hidden("challenge", form.challenge) + hidden("state", form.state) +
               QStringLiteral("<label for=\"email\">E-mail</label>"
                              "<input type=\"email\" id=\"email\" name=\"email\" value=\"%1\" "
                              "autocomplete=\"username\" required%2>"
                              "<label for=\"password\">Password</label>"
                              "<input type=\"password\" id=\"password\" name=\"password\" "
                              "autocomplete=\"current-password\" required%3>"
                              "<button type=\"submit\">Sign in</button></form>")
                   .arg(escaped(form.email), form.email.isEmpty() ? QStringLiteral(" autofocus") : QString(),
                        form.email.isEmpty() ? QString() : QStringLiteral(" autofocus"));
    return page(QStringLiteral("Sign in to Veilora"), content);
}

QByteArray problem(const QString &title, const QString &message)
{
    return page(title, QStringLiteral("<h1>%1</h1><p>%2</p>").arg(escaped(title), escaped(message)));
}

QByteArray redirect(const QByteArray &target)
{
    const QString link = escaped(QString::fromLatin1(target));
    return page(QStringLiteral("Signed in"),
                QStringLiteral("<h1>Signed in</h1><p>You can return to Veilora now. If it did not open, "
                               "<a href=\"%1\">continue to Veilora</a>.</p>")
                    .arg(link));
}

} // namespace veilora::server::ConnectPage
