#pragma once

#include "Appcast.h"

#include <QFile>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>

#include <memory>
#include <optional>

class QNetworkReply;

namespace veilora {

// Why an update check or download ended without an update ready to install.
enum class UpdaterError
{
    feedUnreachable,
    invalidFeed,
    downloadFailed,
    sizeMismatch,
    signatureMismatch,
    installFailed,
};

// The network half of updating, without windows: reads the feed, picks the
// newest applicable release, fetches its notes, downloads its package with
// progress and accepts it only when it verifies. One operation at a time; a
// new one, or cancel(), ends the one before without a signal from it.
class UpdaterSession : public QObject
{
    Q_OBJECT

public:
    struct Configuration
    {
        QUrl feedURL;
        QString runningBuild;
        QString publicKey; // base64 Ed25519; empty: no package can be accepted
        QString downloadFolder;
    };

    explicit UpdaterSession(Configuration configuration, QObject *parent = nullptr);
    ~UpdaterSession() override;

    const Configuration &configuration() const { return m_configuration; }

    void check();
    void fetchReleaseNotes(const AppcastItem &item);
    void download(const AppcastItem &item);
    void cancel();
    bool isBusy() const;

    // http is accepted only to this computer (a local test server).
    static bool isAcceptableAddress(const QUrl &url);

Q_SIGNALS:
    void updateFound(const veilora::AppcastItem &item);
    void upToDate();
    // The notes as received, with whether they are HTML.
    void releaseNotesReady(const QString &text, bool html);
    void releaseNotesFailed();
    void downloadProgress(qint64 received, qint64 total); // total 0: unknown
    void downloadVerified(const QString &packagePath);
    void failed(veilora::UpdaterError error, const QString &detail);

private:
    void finishCheck(QNetworkReply *reply);
    void finishDownload(QNetworkReply *reply);
    void fail(UpdaterError error, const QString &detail);
    void discardDownload();

    const Configuration m_configuration;
    QPointer<QNetworkReply> m_reply;
    QPointer<QNetworkReply> m_notesReply;
    std::unique_ptr<QFile> m_file;
    AppcastItem m_downloading;
    qint64 m_received = 0;
};

} // namespace veilora
