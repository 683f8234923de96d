#pragma once

#include <QList>
#include <QProcess>
#include <QSslCertificate>
#include <QString>
#include <QTemporaryDir>
#include <QUrl>

#include <memory>

namespace veilora::test {

// A real veilora-server child process on 127.0.0.1 with TLS from a test CA.
class TestServer
{
public:
    struct Options
    {
        QString databaseUrl; // empty: a fresh SQLite file in a temp dir
        QString feedDir;
        int codeLifetimeSeconds = 0; // 0: server default
    };

    TestServer();
    explicit TestServer(Options options);
    ~TestServer();
    TestServer(const TestServer &) = delete;
    TestServer &operator=(const TestServer &) = delete;

    // Makes the test CA and server certificate (once per process), starts
    // `veilora-server serve` on a free port and waits for its "listening on" line.
    bool start(QString *error = nullptr);
    void stop();

    QUrl baseUrl() const; // no trailing slash
    QString caCertificatePath() const;
    static QList<QSslCertificate> caCertificates();
    // Runs `veilora-server add-user`; its output joins log().
    bool addUser(const QString &email, const QString &password, QString *error = nullptr);
    // Everything the server printed so far, stdout and stderr.
    QString log() const;
    QString databaseUrl() const;
    static QString executable();

private:
    void collectOutput() const;

    Options m_options;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<QProcess> m_process;
    QUrl m_baseUrl;
    mutable QString m_log;
};

} // namespace veilora::test
