#include "AuthRoutes.h"

#include "ConnectPage.h"
#include "RequestParsing.h"
#include "Store.h"
#include "TokenFactory.h"

#include <QDateTime>
#include <QUrl>
#include <QUrlQuery>

namespace veilora::server {

namespace {

qint64 now()
{
    return QDateTime::currentMSecsSinceEpoch();
}

Reply badConnectRequest()
{
    return Reply::html(400, ConnectPage::problem(QStringLiteral("Cannot sign in"),
                                                 QStringLiteral("This sign-in link is not valid. Start the "
                                                                "sign-in again from Veilora.")));
}

Reply unavailable()
{
    return Reply::html(503, ConnectPage::problem(QStringLiteral("Cannot sign in"),
                                                 QStringLiteral("The server cannot sign you in right now. "
                                                                "Try again later.")));
}

} // namespace

AuthRoutes::AuthRoutes(Store &store, int codeLifetimeSeconds)
    : m_store(store)
    , m_limiter(store)
    , m_codeLifetimeMs(qint64(codeLifetimeSeconds) * 1000)
{
    // Make the decoy hash now, so the first unknown e-mail costs no more than a known one.
    m_hasher.spendVerifyTime({});
}

Reply AuthRoutes::connectPage(const Request &request)
{
    const auto parameters = parseConnectQuery(QUrlQuery(request.query));
    if (!parameters)
        return badConnectRequest();
    return Reply::html(
        200, ConnectPage::form({parameters->app, parameters->challenge, parameters->state, {}, {}}));
}

Reply AuthRoutes::connect(const Request &request)
{
    const auto fields = parseFormBody(request.body);
    const auto parameters =
        checkConnectParameters(fields.value(QStringLiteral("app")), fields.value(QStringLiteral("challenge")),
                               fields.value(QStringLiteral("state")));
    if (!parameters)
        return badConnectRequest();
    const QString email = fields.value(QStringLiteral("email")).trimmed().toLower();
    const QByteArray password = fields.value(QStringLiteral("password")).toUtf8();
    ConnectPage::Form form{parameters->app, parameters->challenge, parameters->state, email, {}};

    const qint64 time = now();
    if (!m_limiter.allows(email, request.address, time)) {
        form.message = QStringLiteral("Too many attempts. Try again in a few minutes.");
        Reply reply = Reply::html(429, ConnectPage::form(form));
        reply.headers.append(qMakePair(QByteArray("Retry-After"), QByteArray("900")));
        return reply;
    }
    const auto account = email.isEmpty() ? std::nullopt : m_store.accountByEmail(email);
    bool valid = false;
    if (account)
        valid = m_hasher.verify(account->passwordHash, password);
    else
        m_hasher.spendVerifyTime(password);
    if (!valid) {
        m_limiter.recordFailure(email, request.address, time);
        form.message = QStringLiteral("Wrong e-mail or password.");
        return Reply::html(401, ConnectPage::form(form));
    }

    m_store.deleteCodesBefore(time);
    const QString code = TokenFactory::newSecret();
    if (!m_store.insertCode(TokenFactory::hashOf(code), account->id, parameters->challenge,
                            time + m_codeLifetimeMs))
        return unavailable();
    const QByteArray target = "veilora://auth?code=" + QUrl::toPercentEncoding(code) +
                              "&state=" + QUrl::toPercentEncoding(parameters->state);
    Reply reply = Reply::html(302, ConnectPage::redirect(target));
    reply.headers.append(qMakePair(QByteArray("Location"), target));
    return reply;
}

Reply AuthRoutes::exchangeToken(const Request &request)
{
    const auto parsed = parseTokenRequest(request.body);
    if (parsed.problem != BodyProblem::None)
        return Reply::error(400, "bad_request");
    const TokenRequest &exchange = parsed.request;
    // Claiming first burns the code whatever comes next: a wrong verifier
    // must not leave the code open for another guess.
    const auto claimed = m_store.claimCode(TokenFactory::hashOf(exchange.code), now());
    if (!claimed || !isValidVerifier(exchange.verifier) ||
        challengeForVerifier(exchange.verifier) != claimed->challenge)
        return Reply::error(400, "invalid_grant");
    const auto email = m_store.emailOfAccount(claimed->accountId);
    if (!email)
        return Reply::error(400, "invalid_grant");
    const QString token = TokenFactory::newSecret();
    if (!m_store.insertToken(TokenFactory::hashOf(token), claimed->accountId, exchange.deviceId, now()))
        return Reply::error(500, "server_error");
    return Reply::json(200, QJsonObject{{QStringLiteral("token"), token}, {QStringLiteral("email"), *email}});
}

std::optional<qint64> AuthRoutes::authenticate(const Request &request)
{
    const auto token = parseBearer(request.authorization);
    if (!token)
        return std::nullopt;
    return m_store.accountOfToken(TokenFactory::hashOf(*token));
}

Reply AuthRoutes::me(const Request &request)
{
    const auto account = authenticate(request);
    const auto email = account ? m_store.emailOfAccount(*account) : std::nullopt;
    if (!email)
        return Reply::error(401, "unauthorized");
    return Reply::json(200, QJsonObject{{QStringLiteral("email"), *email}});
}

Reply AuthRoutes::logout(const Request &request)
{
    const auto token = parseBearer(request.authorization);
    if (!token || !m_store.deleteToken(TokenFactory::hashOf(*token)))
        return Reply::error(401, "unauthorized");
    return Reply::json(200, QJsonObject{});
}

} // namespace veilora::server
