#include "TestServer.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QRegularExpression>

#ifndef VEILORA_SERVER_EXECUTABLE
#define VEILORA_SERVER_EXECUTABLE "veilora-server"
#endif

namespace veilora::test {

namespace {

struct Certificates
{
    QString ca;
    QString certificate;
    QString key;
    QString error;
};

bool runOpenssl(const QStringList &arguments, const QString &workDir, QString *error)
{
    QProcess openssl;
    openssl.setWorkingDirectory(workDir);
    openssl.setProcessChannelMode(QProcess::MergedChannels);
    openssl.start(QStringLiteral("openssl"), arguments);
    if (!openssl.waitForFinished(60000) || openssl.exitStatus() != QProcess::NormalExit ||
        openssl.exitCode() != 0) {
        *error =
            QStringLiteral("openssl %1 failed: %2")
                .arg(arguments.value(0), QString::fromLocal8Bit(openssl.readAll()) + openssl.errorString());
        return false;
    }
    return true;
}

// A CA and a certificate for 127.0.0.1 and localhost signed by it, made once
// per test process: the client side trusts the CA, as an app pointed at a
// private server would.
const Certificates &certificates()
{
    static QTemporaryDir dir;
    static const Certificates made = [] {
        Certificates files;
        if (!dir.isValid()) {
            files.error = QStringLiteral("cannot create a folder for the test certificates");
            return files;
        }
        const QString path = dir.path();
        QFile extensions(path + QStringLiteral("/server.ext"));
        if (!extensions.open(QIODevice::WriteOnly) ||
            extensions.write(
                "subjectAltName=IP:127.0.0.1,DNS:localhost\nbasicConstraints=CA:FALSE\n"
                "keyUsage=critical,digitalSignature,keyEncipherment\nextendedKeyUsage=serverAuth\n") < 0) {
            files.error = QStringLiteral("cannot write the certificate extensions");
            return files;
        }
        extensions.close();
        const QStringList curve = {QStringLiteral("-newkey"), QStringLiteral("ec"),
                                   QStringLiteral("-pkeyopt"), QStringLiteral("ec_paramgen_curve:prime256v1"),
                                   QStringLiteral("-nodes")};
        if (!runOpenssl(QStringList{QStringLiteral("req"), QStringLiteral("-x509")} + curve +
                            QStringList{QStringLiteral("-keyout"), QStringLiteral("ca.key"),
                                        QStringLiteral("-out"), QStringLiteral("ca.pem"),
                                        QStringLiteral("-days"), QStringLiteral("3"), QStringLiteral("-subj"),
                                        QStringLiteral("/CN=Veilora Test CA"), QStringLiteral("-addext"),
                                        QStringLiteral("basicConstraints=critical,CA:TRUE"),
                                        QStringLiteral("-addext"),
                                        QStringLiteral("keyUsage=critical,keyCertSign,cRLSign")},
                        path, &files.error) ||
            !runOpenssl(QStringList{QStringLiteral("req")} + curve +
                            QStringList{QStringLiteral("-keyout"), QStringLiteral("server.key"),
                                        QStringLiteral("-out"), QStringLiteral("server.csr"),
                                        QStringLiteral("-subj"), QStringLiteral("/CN=localhost")},
                        path, &files.error) ||
            !runOpenssl({QStringLiteral("x509"), QStringLiteral("-req"), QStringLiteral("-in"),
                         QStringLiteral("server.csr"), QStringLiteral("-CA"), QStringLiteral("ca.pem"),
                         QStringLiteral("-CAkey"), QStringLiteral("ca.key"),
                         QStringLiteral("-CAcreateserial"), QStringLiteral("-out"),
                         QStringLiteral("server.pem"), QStringLiteral("-days"), QStringLiteral("3"),
                         QStringLiteral("-extfile"), QStringLiteral("server.ext")},
                        path, &files.error))
            return files;
        files.ca = path + QStringLiteral("/ca.pem");
        files.certificate = path + QStringLiteral("/server.pem");
        files.key = path + QStringLiteral("/server.key");
        return files;
    }();
    return made;
}

bool fail(QString *error, const QString &message)
{
    if (error)
        *error = message;
    return false;
}

} // namespace

TestServer::TestServer()
    : TestServer(Options{})
{}

TestServer::TestServer(Options options)
    : m_options(std::move(options))
{}

TestServer::~TestServer()
{
    stop();
}

QString TestServer::executable()
{
    const QString overridden = qEnvironmentVariable("VEILORA_SERVER_EXECUTABLE");
    return overridden.isEmpty() ? QStringLiteral(VEILORA_SERVER_EXECUTABLE) : overridden;
}

QString TestServer::caCertificatePath() const
{
    return certificates().ca;
}

QList<QSslCertificate> TestServer::caCertificates()
{
    const QString path = certificates().ca;
    return path.isEmpty() ? QList<QSslCertificate>() : QSslCertificate::fromPath(path);
}

QString TestServer::databaseUrl() const
{
    return m_options.databaseUrl;
}

QUrl TestServer::baseUrl() const
{
    return m_baseUrl;
}

void TestServer::collectOutput() const
{
    if (!m_process)
        return;
    m_log += QString::fromUtf8(m_process->readAllStandardOutput());
    m_log += QString::fromUtf8(m_process->readAllStandardError());
}

QString TestServer::log() const
{
    collectOutput();
    return m_log;
}

bool TestServer::start(QString *error)
{
    stop();
    const Certificates &files = certificates();
    if (!files.error.isEmpty())
        return fail(error, files.error);
    if (m_options.databaseUrl.isEmpty()) {
        m_dir = std::make_unique<QTemporaryDir>();
        if (!m_dir->isValid())
            return fail(error, QStringLiteral("cannot create a folder for the database"));
        m_options.databaseUrl = QStringLiteral("sqlite:") + m_dir->filePath(QStringLiteral("server.db"));
    }
    QStringList arguments = {QStringLiteral("serve"),
                             QStringLiteral("--listen"),
                             QStringLiteral("127.0.0.1:0"),
                             QStringLiteral("--database"),
                             m_options.databaseUrl,
                             QStringLiteral("--tls-cert"),
                             files.certificate,
                             QStringLiteral("--tls-key"),
                             files.key};
    if (!m_options.feedDir.isEmpty())
        arguments << QStringLiteral("--feed-dir") << m_options.feedDir;
    if (m_options.codeLifetimeSeconds > 0)
        arguments << QStringLiteral("--code-lifetime") << QString::number(m_options.codeLifetimeSeconds);

    m_process = std::make_unique<QProcess>();
    m_process->setProcessChannelMode(QProcess::SeparateChannels);
    m_process->start(executable(), arguments);
    if (!m_process->waitForStarted(30000))
        return fail(error, QStringLiteral("cannot start %1: %2").arg(executable(), m_process->errorString()));

    static const QRegularExpression listening(QStringLiteral("listening on (https?://\\S+)"));
    const QDeadlineTimer deadline(60000);
    while (!deadline.hasExpired()) {
        collectOutput();
        if (const auto match = listening.match(m_log); match.hasMatch()) {
            m_baseUrl = QUrl(match.captured(1));
            return true;
        }
        if (m_process->state() == QProcess::NotRunning)
            break;
        m_process->waitForReadyRead(100);
    }
    collectOutput();
    const QString output = m_log;
    stop();
    return fail(error, QStringLiteral("the server did not start listening:\n") + output);
}

void TestServer::stop()
{
    if (!m_process)
        return;
    if (m_process->state() != QProcess::NotRunning) {
        m_process->terminate();
        if (!m_process->waitForFinished(15000)) {
            m_process->kill();
            m_process->waitForFinished(5000);
        }
    }
    collectOutput();
    m_process.reset();
    m_baseUrl = QUrl();
}

bool TestServer::addUser(const QString &email, const QString &password, QString *error)
{
    if (m_options.databaseUrl.isEmpty()) {
        // The user must land in the database the server is going to use.
        m_dir = std::make_unique<QTemporaryDir>();
        m_options.databaseUrl = QStringLiteral("sqlite:") + m_dir->filePath(QStringLiteral("server.db"));
    }
    QProcess process;
    process.start(executable(),
                  {QStringLiteral("add-user"), email, QStringLiteral("--database"), m_options.databaseUrl});
    if (!process.waitForStarted(30000))
        return fail(error, QStringLiteral("cannot start %1").arg(executable()));
    process.write(password.toUtf8() + '\n');
    process.closeWriteChannel();
    const bool finished = process.waitForFinished(120000);
    const QString output = QString::fromUtf8(process.readAllStandardOutput()) +
                           QString::fromUtf8(process.readAllStandardError());
    m_log += output;
    if (!finished || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return fail(error, QStringLiteral("add-user failed: ") + output);
    return true;
}

} // namespace veilora::test
