#include "Commands.h"

#include "AuthRoutes.h"
#include "FeedRoutes.h"
#include "HttpFrontend.h"
#include "PasswordHasher.h"
#include "QuitOnSignal.h"
#include "ReportRoutes.h"
#include "ServerOptions.h"
#include "Store.h"
#include "SyncRoutes.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QHostAddress>
#include <QSslConfiguration>
#include <QSslKey>

#include <cstdio>
#include <iostream>
#include <string>

namespace veilora::server {

namespace {

constexpr int exitFailure = 1;
constexpr int exitUsage = 2;

void complain(const QString &message)
{
    std::fprintf(stderr, "veilora-server: %s\n", qPrintable(message));
    std::fflush(stderr);
}

std::unique_ptr<Store> openStore(const QString &text, int *exitCode)
{
    QString error;
    const auto url = DatabaseUrl::parse(text, &error);
    if (!url) {
        complain(error);
        *exitCode = exitUsage;
        return nullptr;
    }
    auto store = Store::open(*url, &error);
    if (!store) {
        complain(error);
        *exitCode = exitFailure;
    }
    return store;
}

bool isPlausibleEmail(const QString &email)
{
    const qsizetype at = email.indexOf(u'@');
    if (at <= 0 || at != email.lastIndexOf(u'@') || at == email.size() - 1 || email.size() > 254)
        return false;
    for (const QChar c : email) {
        if (c.isSpace() || c.unicode() < 0x20)
            return false;
    }
    return true;
}

int addUser(const AddUserOptions &options)
{
    const QString email = options.email.trimmed().toLower();
    if (!isPlausibleEmail(email)) {
        complain(QStringLiteral("not an e-mail address: %1").arg(options.email));
        return exitUsage;
    }
    std::string line;
    std::getline(std::cin, line);
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    if (line.empty()) {
        complain(QStringLiteral("the password (first line of standard input) is empty"));
        return exitUsage;
    }
    int exitCode = 0;
    const auto store = openStore(options.databaseUrl, &exitCode);
    if (!store)
        return exitCode;
    const QString hash = PasswordHasher().hash(QByteArray::fromStdString(line));
    std::fill(line.begin(), line.end(), '\0');
    if (hash.isEmpty()) {
        complain(QStringLiteral("cannot hash the password (out of memory?)"));
        return exitFailure;
    }
    switch (store->setPassword(email, hash, QDateTime::currentMSecsSinceEpoch())) {
    case Store::PasswordChange::Added:
        std::printf("user %s added\n", qPrintable(email));
        return 0;
    case Store::PasswordChange::Changed:
        std::printf("password of %s changed\n", qPrintable(email));
        return 0;
    case Store::PasswordChange::Failed:
        break;
    }
    complain(QStringLiteral("cannot store the user"));
    return exitFailure;
}

bool setUpTls(HttpFrontend &server, const ServeOptions &options)
{
    const QList<QSslCertificate> chain = QSslCertificate::fromPath(options.tlsCertificate, QSsl::Pem);
    if (chain.isEmpty()) {
        complain(QStringLiteral("no certificate in %1").arg(options.tlsCertificate));
        return false;
    }
    QFile keyFile(options.tlsKey);
    if (!keyFile.open(QIODevice::ReadOnly)) {
        complain(QStringLiteral("cannot read %1").arg(options.tlsKey));
        return false;
    }
    const QByteArray pem = keyFile.readAll();
    QSslKey key;
    for (const auto algorithm : {QSsl::Rsa, QSsl::Ec, QSsl::Dsa}) {
        key = QSslKey(pem, algorithm, QSsl::Pem);
        if (!key.isNull())
            break;
    }
    if (key.isNull()) {
        complain(QStringLiteral("no usable private key in %1").arg(options.tlsKey));
        return false;
    }
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificateChain(chain);
    configuration.setPrivateKey(key);
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
    server.sslSetup(configuration);
    return true;
}

int serve(const ServeOptions &options)
{
    if (!options.usesTls() && !isLoopbackHost(options.host)) {
        complain(
            QStringLiteral("refusing to serve plain HTTP on %1: sign-in passwords and tokens would cross "
                           "the network unencrypted. Give --tls-cert and --tls-key, or listen on "
                           "127.0.0.1 behind a TLS proxy.")
                .arg(options.host));
        return exitUsage;
    }
    int exitCode = 0;
    const auto store = openStore(options.databaseUrl, &exitCode);
    if (!store)
        return exitCode;

    AuthRoutes auth(*store, options.codeLifetimeSeconds);
    SyncRoutes sync(*store, auth);
    ReportRoutes reports(*store);
    FeedRoutes feed(options.feedDir);

    constexpr qsizetype small = 64 * 1024;
    HttpFrontend server;
    using R = HttpFrontend::Route;
    server.addRoute(
        R{"/app/connect", false, "GET", small, [&](const Request &r) { return auth.connectPage(r); }});
    server.addRoute(
        R{"/app/connect", false, "POST", small, [&](const Request &r) { return auth.connect(r); }});
    server.addRoute(
        R{"/api/app/token", false, "POST", small, [&](const Request &r) { return auth.exchangeToken(r); }});
    server.addRoute(R{"/api/me", false, "GET", small, [&](const Request &r) { return auth.me(r); }});
    server.addRoute(
        R{"/api/app/logout", false, "POST", small, [&](const Request &r) { return auth.logout(r); }});
    server.addRoute(
        R{"/api/sync/veilora", false, "GET", small, [&](const Request &r) { return sync.download(r); }});
    // Room for a full blob even when every character arrives as a \u escape.
    server.addRoute(
        R{"/api/sync/veilora", false, "PUT", 512 * 1024, [&](const Request &r) { return sync.upload(r); }});
    server.addRoute(R{"/api/crash", false, "POST", 1024 * 1024,
                      [&](const Request &r) { return reports.receive(Store::Report::Crash, r); }});
    server.addRoute(R{"/api/testlog", false, "POST", 2 * 1024 * 1024,
                      [&](const Request &r) { return reports.receive(Store::Report::TestLog, r); }});
    server.addRoute(R{"/feed/", true, "GET", small, [&](const Request &r) { return feed.file(r); }});

    if (options.usesTls() && !setUpTls(server, options))
        return exitUsage;
    const QHostAddress address = options.host == QLatin1StringView("localhost")
                                     ? QHostAddress(QHostAddress::LocalHost)
                                     : QHostAddress(options.host);
    if (address.isNull()) {
        complain(QStringLiteral("cannot listen on %1: not an IP address").arg(options.host));
        return exitUsage;
    }
    const quint16 port = server.listen(address, options.port);
    if (port == 0) {
        complain(QStringLiteral("cannot listen on %1:%2").arg(options.host).arg(options.port));
        return exitFailure;
    }
    QuitOnSignal quitOnSignal;
    const QString shownHost = options.host.contains(u':') ? u'[' + options.host + u']' : options.host;
    std::printf("listening on %s://%s:%u\n", options.usesTls() ? "https" : "http", qPrintable(shownHost),
                static_cast<unsigned>(port));
    std::fflush(stdout);
    const int result = QCoreApplication::exec();
    complain(QStringLiteral("stopped"));
    return result;
}

} // namespace

int runServerCommand(const QStringList &arguments)
{
    if (arguments.size() == 1 &&
        (arguments.first() == QLatin1StringView("--help") || arguments.first() == QLatin1StringView("-h"))) {
        std::printf("%s", qPrintable(serverUsage()));
        return 0;
    }
    QString error;
    const auto command = parseServerCommand(arguments, &error);
    if (!command) {
        complain(error);
        std::fprintf(stderr, "%s", qPrintable(serverUsage()));
        return exitUsage;
    }
    if (!PasswordHasher::initialize()) {
        complain(QStringLiteral("libsodium cannot be initialised"));
        return exitFailure;
    }
    return command->kind == ServerCommand::Kind::Serve ? serve(command->serve) : addUser(command->addUser);
}

} // namespace veilora::server
