#include "platform/auth/PamAuthentication.h"

#include "platform/auth/PromptedAuthenticator.h"
#include "platform/auth/Secret.h"
#include "support/TestPeer.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <iostream>
#include <memory>

using namespace veilora;

namespace {

// Answers each request for a secret with the next scripted answer; an empty
// answer stands for the user pressing Escape.
class ScriptedPrompt : public CredentialPrompt
{
public:
    explicit ScriptedPrompt(QStringList answers)
        : m_answers(std::move(answers))
    {}

    void open(const QString &, std::function<void()> cancel) override { m_cancel = std::move(cancel); }
    void askSecret(const QString &message, bool, std::function<void(Secret)> answer) override
    {
        requests.append(message);
        const QString next = m_answers.isEmpty() ? QString() : m_answers.takeFirst();
        if (next.isEmpty()) {
            m_cancel();
            return;
        }
        Secret secret;
        secret.append(next);
        answer(std::move(secret));
    }
    void showMessage(const QString &text, MessageKind) override { messages.append(text); }
    void reject() override { ++rejections; }
    void close() override { ++closes; }

    QStringList requests;
    QStringList messages;
    int rejections = 0;
    int closes = 0;

private:
    QStringList m_answers;
    std::function<void()> m_cancel;
};

} // namespace

// Runs under pam_wrapper (see runPam): authenticates the current user against the
// services in args[0] with the answers in args[1] and reports on stdout.
VEILORA_TEST_PEER(pam)
{
    PamAuthentication::Options options;
    options.serviceDirectories = {args.value(0)};
    ScriptedPrompt prompt(args.value(1).split(QLatin1Char(','), Qt::KeepEmptyParts));
    PromptedAuthenticator authenticator(prompt, std::make_shared<PamAuthentication>(options));

    std::optional<QString> error;
    if (!authenticator.canEvaluate(&error)) {
        std::cout << "unavailable: " << error.value_or(QStringLiteral("?")).toStdString() << std::endl;
        return 0;
    }
    QEventLoop loop;
    bool success = false;
    authenticator.evaluate(QStringLiteral("unlock"), [&](bool ok, std::optional<QString> why) {
        success = ok;
        error = why;
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    loop.exec();
    test::processEventsFor(std::chrono::milliseconds(50)); // the prompt's close hop
    std::cout << "result: " << success << "\nerror: " << error.value_or(QString()).toStdString()
              << "\nrequests: " << prompt.requests.size() << "\nrejections: " << prompt.rejections
              << "\ncloses: " << prompt.closes
              << "\nmessages: " << prompt.messages.join(QLatin1Char('|')).toStdString() << std::endl;
    return 0;
}

namespace {

// PAM for tests: pam_wrapper makes PAM read its services from a private folder,
// and pam_matrix checks passwords against a "user:password:service" file.
//
// The PAM calls run in a peer process because pam_wrapper must be preloaded, and
// AddressSanitizer insists on being the first preloaded library: the peer gets
// this process's own ASan runtime (found in /proc/self/maps) ahead of
// libpam_wrapper.so. Deep binding is off, as pam_wrapper asks for under sanitizers.
class PamTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!QFile::exists(modules() + QStringLiteral("/pam_matrix.so"))) {
            if (test::inTestSession())
                FAIL() << "pam_wrapper is not installed (libpam-wrapper)";
            GTEST_SKIP() << "needs libpam-wrapper";
        }
        ASSERT_TRUE(m_services.isValid());
        m_passdb =
            m_services.path() + QStringLiteral("/../passdb-") + QFileInfo(m_services.path()).fileName();
    }

    void TearDown() override { QFile::remove(m_passdb); }

    static QString modules() { return QStringLiteral(VEILORA_PAM_WRAPPER_MODULES); }

    void writeService(const QString &service, const QString &passwordService)
    {
        QFile db(m_passdb);
        ASSERT_TRUE(db.open(QIODevice::WriteOnly | QIODevice::Append));
        db.write(PamAuthentication().user().toUtf8() + ":s3cret:" + passwordService.toUtf8() + "\n");
        QFile file(m_services.filePath(service));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        const QString matrix = modules() + QStringLiteral("/pam_matrix.so passdb=") + m_passdb;
        file.write(QStringLiteral("auth optional %1/pam_chatty.so num_lines=1 info\n"
                                  "auth required %2\n"
                                  "account required %2\n")
                       .arg(modules(), matrix)
                       .toUtf8());
    }

    // The peer's report as key → value.
    QMap<QString, QString> runPam(const QString &answers)
    {
        QString preload = QStringLiteral("libpam_wrapper.so");
        QFile maps(QStringLiteral("/proc/self/maps"));
        if (maps.open(QIODevice::ReadOnly)) {
            for (const QByteArray &line : maps.readAll().split('\n')) {
                const qsizetype at = line.indexOf('/');
                if (at >= 0 && line.contains("/libasan.so")) {
                    preload.prepend(QString::fromUtf8(line.mid(at)) + QLatin1Char(':'));
                    break;
                }
            }
        }
        qputenv("LD_PRELOAD", preload.toUtf8());
        qputenv("PAM_WRAPPER", "1");
        qputenv("PAM_WRAPPER_SERVICE_DIR", m_services.path().toUtf8());
        qputenv("PAM_WRAPPER_DISABLE_DEEPBIND", "1");
        std::unique_ptr<QProcess> peer(test::startPeer(QStringLiteral("pam"), {m_services.path(), answers}));
        for (const char *name :
             {"LD_PRELOAD", "PAM_WRAPPER", "PAM_WRAPPER_SERVICE_DIR", "PAM_WRAPPER_DISABLE_DEEPBIND"})
            qunsetenv(name);
        EXPECT_TRUE(peer->waitForFinished(30000));
        EXPECT_EQ(peer->exitCode(), 0) << peer->readAllStandardError().toStdString();
        QMap<QString, QString> report;
        for (const QByteArray &line : peer->readAllStandardOutput().split('\n')) {
            const qsizetype colon = line.indexOf(": ");
            if (colon > 0)
                report.insert(QString::fromUtf8(line.left(colon)), QString::fromUtf8(line.mid(colon + 2)));
        }
        return report;
    }

    QTemporaryDir m_services;
    QTemporaryDir m_data;
    QString m_passdb;
};

} // namespace

TEST_F(PamTest, RightPasswordSucceedsAndStackMessagesReachThePrompt)
{
    writeService(QStringLiteral("veilora"), QStringLiteral("veilora"));
    const auto report = runPam(QStringLiteral("s3cret"));
    EXPECT_EQ(report.value(QStringLiteral("result")), QStringLiteral("1"))
        << report.value(QStringLiteral("error")).toStdString();
    EXPECT_EQ(report.value(QStringLiteral("requests")), QStringLiteral("1"));
    EXPECT_FALSE(report.value(QStringLiteral("messages")).isEmpty()) << "pam_chatty's info line";
    EXPECT_EQ(report.value(QStringLiteral("closes")), QStringLiteral("1"));
}

TEST_F(PamTest, WrongPasswordIsRejectedThenRetriedUntilTheLimit)
{
    writeService(QStringLiteral("veilora"), QStringLiteral("veilora"));
    auto report = runPam(QStringLiteral("nope,s3cret"));
    EXPECT_EQ(report.value(QStringLiteral("result")), QStringLiteral("1"));
    EXPECT_EQ(report.value(QStringLiteral("rejections")), QStringLiteral("1"));

    report = runPam(QStringLiteral("a,b,c,s3cret"));
    EXPECT_EQ(report.value(QStringLiteral("result")), QStringLiteral("0"));
    EXPECT_EQ(report.value(QStringLiteral("requests")), QString::number(PromptedAuthenticator::maxAttempts));
    EXPECT_EQ(report.value(QStringLiteral("rejections")),
              QString::number(PromptedAuthenticator::maxAttempts - 1));
    EXPECT_EQ(report.value(QStringLiteral("closes")), QStringLiteral("1"));
}

TEST_F(PamTest, CancelEndsWithoutSuccess)
{
    writeService(QStringLiteral("veilora"), QStringLiteral("veilora"));
    const auto report = runPam(QString());
    EXPECT_EQ(report.value(QStringLiteral("result")), QStringLiteral("0"));
    EXPECT_EQ(report.value(QStringLiteral("error")), QStringLiteral("cancelled"));
}

TEST_F(PamTest, FallsBackToLoginAndIsUnavailableWithoutEither)
{
    auto report = runPam(QStringLiteral("s3cret"));
    EXPECT_TRUE(report.value(QStringLiteral("unavailable")).contains(QStringLiteral("no PAM service")))
        << report.value(QStringLiteral("unavailable")).toStdString();

    writeService(QStringLiteral("login"), QStringLiteral("login"));
    report = runPam(QStringLiteral("s3cret"));
    EXPECT_EQ(report.value(QStringLiteral("result")), QStringLiteral("1"))
        << report.value(QStringLiteral("error")).toStdString();
}

TEST(SecretTest, KeepsWholeCharactersAndEmptiesWhenMoved)
{
    Secret secret;
    ASSERT_TRUE(secret.append(QStringLiteral("añ€😀")));
    EXPECT_EQ(secret.characterCount(), 4);
    EXPECT_EQ(secret.byteCount(), 1u + 2 + 3 + 4);
    secret.removeLastCharacter();
    EXPECT_TRUE(secret.equals("a\xc3\xb1\xe2\x82\xac", 6));

    Secret moved = std::move(secret);
    EXPECT_TRUE(secret.isEmpty()); // NOLINT(bugprone-use-after-move): moving empties by design
    EXPECT_EQ(moved.characterCount(), 3);

    EXPECT_FALSE(moved.append(QString(Secret::capacity, QLatin1Char('x')))) << "longer than PAM accepts";
    EXPECT_EQ(moved.characterCount(), 3) << "a refused append leaves the secret as it was";
}
