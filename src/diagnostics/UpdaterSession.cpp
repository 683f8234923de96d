#include "UpdaterSession.h"

#include "UpdatePackageVerifier.h"
#include "platform/EventLog.h"
#include "platform/VendorServer.h"

#include <QDir>
#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkReply>

namespace veilora {

using namespace Qt::Literals::StringLiterals;

namespace {

// An appcast is a few kilobytes; far more is not one.
constexpr qint64 maxFeedBytes = 4 * 1024 * 1024;
constexpr qint64 maxNotesBytes = 2 * 1024 * 1024;
// Stops a download whose size is not stated from filling the disk.
constexpr qint64 maxUnstatedPackageBytes = 512LL * 1024 * 1024;

QString packageFileName(const AppcastItem &item)
{
    QString name = item.url.fileName();
    const bool safe = !name.isEmpty() && !name.startsWith(u'.') && !name.contains(u'/') && name.size() < 200;
    if (!safe)
        name = u"veilora-update-%1"_s.arg(item.version);
    // apt-get recognises a local package by its extension.
    if (!name.endsWith(".deb"_L1, Qt::CaseInsensitive))
        name += ".deb"_L1;
    return name;
}

void discard(QPointer<QNetworkReply> &reply)
{
    if (!reply)
        return;
    QNetworkReply *stopping = reply;
    reply = nullptr;
    stopping->disconnect();
    stopping->abort();
    stopping->deleteLater();
}

} // namespace

UpdaterSession::UpdaterSession(Configuration configuration, QObject *parent)
    : QObject(parent)
    , m_configuration(std::move(configuration))
{}

UpdaterSession::~UpdaterSession()
{
    cancel();
}

bool UpdaterSession::isAcceptableAddress(const QUrl &url)
{
    const QString scheme = url.scheme().toLower();
    if (scheme == "https"_L1)
        return !url.host().isEmpty();
    if (scheme != "http"_L1)
        return false;
    const QHostAddress address(url.host());
    return url.host().compare("localhost"_L1, Qt::CaseInsensitive) == 0 ||
           (!address.isNull() && address.isLoopback());
}

bool UpdaterSession::isBusy() const
{
    return m_reply != nullptr;
}

void UpdaterSession::cancel()
{
    discard(m_reply);
    discard(m_notesReply);
    discardDownload();
}

void UpdaterSession::discardDownload()
{
    if (!m_file)
        return;
    m_file->remove();
    m_file.reset();
}

void UpdaterSession::fail(UpdaterError error, const QString &detail)
{
    EventLog::write(u"Update failed (%1): %2"_s.arg(int(error)).arg(detail));
    Q_EMIT failed(error, detail);
}

void UpdaterSession::check()
{
    cancel();
    if (!isAcceptableAddress(m_configuration.feedURL)) {
        fail(UpdaterError::invalidFeed,
             u"the feed address is not https: %1"_s.arg(m_configuration.feedURL.toString()));
        return;
    }
    QNetworkRequest request = VendorServer::request(m_configuration.feedURL, std::nullopt, false);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    m_reply = VendorServer::network().get(request);
    QNetworkReply *reply = m_reply;
    connect(reply, &QNetworkReply::downloadProgress, this, [reply](qint64 received, qint64) {
        if (received > maxFeedBytes)
            reply->abort();
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply] { finishCheck(reply); });
}

void UpdaterSession::finishCheck(QNetworkReply *reply)
{
    reply->deleteLater();
    if (reply != m_reply)
        return;
    m_reply = nullptr;
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply->error() != QNetworkReply::NoError) {
        // The server answered, but not with a feed: the address is wrong, not the network.
        const bool answered = status >= 400;
        fail(answered ? UpdaterError::invalidFeed : UpdaterError::feedUnreachable, reply->errorString());
        return;
    }
    QString error;
    const std::optional<Appcast> appcast = parseAppcast(reply->readAll(), &error);
    if (!appcast) {
        fail(UpdaterError::invalidFeed, error);
        return;
    }
    const std::optional<AppcastItem> item = newestApplicable(appcast->items, m_configuration.runningBuild);
    EventLog::write(item ? u"Update available: %1 (build %2)"_s.arg(item->displayVersion(), item->version)
                         : u"No update newer than build %1"_s.arg(m_configuration.runningBuild));
    if (item)
        Q_EMIT updateFound(*item);
    else
        Q_EMIT upToDate();
}

void UpdaterSession::fetchReleaseNotes(const AppcastItem &item)
{
    discard(m_notesReply);
    if (!item.releaseNotesLink.isValid()) {
        if (item.description.isEmpty())
            Q_EMIT releaseNotesFailed();
        else
            Q_EMIT releaseNotesReady(item.description, true);
        return;
    }
    if (!isAcceptableAddress(item.releaseNotesLink)) {
        Q_EMIT releaseNotesFailed();
        return;
    }
    m_notesReply =
        VendorServer::network().get(VendorServer::request(item.releaseNotesLink, std::nullopt, false));
    QNetworkReply *reply = m_notesReply;
    connect(reply, &QNetworkReply::downloadProgress, this, [reply](qint64 received, qint64) {
        if (received > maxNotesBytes)
            reply->abort();
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        reply->deleteLater();
        if (reply != m_notesReply)
            return;
        m_notesReply = nullptr;
        if (reply->error() != QNetworkReply::NoError) {
            EventLog::write(u"Release notes not loaded: %1"_s.arg(reply->errorString()));
            Q_EMIT releaseNotesFailed();
            return;
        }
        const QString type = reply->header(QNetworkRequest::ContentTypeHeader).toString();
        const QString path = reply->url().path();
        const bool html = type.contains("html"_L1, Qt::CaseInsensitive) || path.endsWith(".html"_L1) ||
                          path.endsWith(".htm"_L1);
        Q_EMIT releaseNotesReady(QString::fromUtf8(reply->readAll()), html);
    });
}

void UpdaterSession::download(const AppcastItem &item)
{
    cancel();
    if (!isAcceptableAddress(item.url)) {
        fail(UpdaterError::downloadFailed,
             u"the package address is not https: %1"_s.arg(item.url.toString()));
        return;
    }
    if (!QDir().mkpath(m_configuration.downloadFolder)) {
        fail(UpdaterError::downloadFailed, u"cannot create %1"_s.arg(m_configuration.downloadFolder));
        return;
    }
    m_downloading = item;
    m_received = 0;
    m_file = std::make_unique<QFile>(QDir(m_configuration.downloadFolder).filePath(packageFileName(item)));
    if (!m_file->open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        const QString detail = m_file->errorString();
        m_file.reset();
        fail(UpdaterError::downloadFailed, detail);
        return;
    }
    m_reply = VendorServer::network().get(VendorServer::request(item.url, std::nullopt, false));
    QNetworkReply *reply = m_reply;
    const qint64 limit = item.length > 0 ? item.length : maxUnstatedPackageBytes;
    connect(reply, &QNetworkReply::readyRead, this, [this, reply, limit] {
        if (reply != m_reply)
            return;
        const QByteArray chunk = reply->readAll();
        m_received += chunk.size();
        // More than announced is already wrong: stop instead of fetching the rest.
        if (m_received > limit) {
            discard(m_reply);
            discardDownload();
            fail(UpdaterError::sizeMismatch,
                 u"more than the %1 bytes the feed states"_s.arg(m_downloading.length));
            return;
        }
        if (m_file->write(chunk) != chunk.size()) {
            const QString detail = m_file->errorString();
            discard(m_reply);
            discardDownload();
            fail(UpdaterError::downloadFailed, detail);
            return;
        }
        Q_EMIT downloadProgress(m_received, m_downloading.length);
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply] { finishDownload(reply); });
}

void UpdaterSession::finishDownload(QNetworkReply *reply)
{
    reply->deleteLater();
    if (reply != m_reply)
        return;
    m_reply = nullptr;
    if (reply->error() != QNetworkReply::NoError) {
        discardDownload();
        fail(UpdaterError::downloadFailed, reply->errorString());
        return;
    }
    const QByteArray rest = reply->readAll();
    m_received += rest.size();
    if (m_file->write(rest) != rest.size() || !m_file->flush()) {
        const QString detail = m_file->errorString();
        discardDownload();
        fail(UpdaterError::downloadFailed, detail);
        return;
    }
    m_file->close();
    const QString path = m_file->fileName();
    using UpdatePackageVerifier::Result;
    const Result result = UpdatePackageVerifier::verify(path, m_downloading.length, m_downloading.edSignature,
                                                        m_configuration.publicKey);
    if (result != Result::accepted) {
        discardDownload();
        const bool size = result == Result::sizeMismatch;
        fail(size                           ? UpdaterError::sizeMismatch
             : result == Result::unreadable ? UpdaterError::downloadFailed
                                            : UpdaterError::signatureMismatch,
             size ? u"%1 bytes received, the feed states %2"_s.arg(m_received).arg(m_downloading.length)
             : result == Result::noKey       ? u"this build carries no update-signing key"_s
             : result == Result::noSignature ? u"the feed gives no signature for the package"_s
                                             : u"the signature does not match the package"_s);
        return;
    }
    m_file.reset();
    EventLog::write(u"Update package verified: %1"_s.arg(path));
    Q_EMIT downloadVerified(path);
}

} // namespace veilora
