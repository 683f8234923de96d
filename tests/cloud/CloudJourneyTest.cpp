// Two computers of one person, sharing nothing but an account on a real
// veilora-server over TLS. Computer A is this process (the cloud classes over
// real settings); computer B is the application itself, started in its own
// session with its own home, session bus and keyring, driven with real input on
// the X server. The test plays the browser on both: it loads the sign-in page
// the application opened, posts the form and hands the app:// redirect back.
#include "CloudTestSupport.h"
#include "app/AppDelegate.h"
#include "app/ShellServices.h"
#include "cloud/CloudAccount.h"
#include "cloud/CloudSync.h"
#include "diagnostics/DebugLog.h"
#include "guard/PrivacyGuard.h"
#include "platform/SingleInstance.h"
#include "settings/AccountTab.h"
#include "settings/SettingsWindow.h"
#include "settings/SettingsWindowController.h"
#include "support/RealInput.h"
#include "support/TestBrowser.h"
#include "support/TestPeer.h"
#include "support/TestServer.h"

#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QSystemTrayIcon>
#include <QTextStream>
#include <QUrlQuery>

#include <csignal>
#include <sys/prctl.h>

using namespace veilora;
using namespace veilora::test;
using namespace std::chrono_literals;

namespace {

const QString email = QStringLiteral("ada@example.org");
const QString password = QStringLiteral("correct horse battery staple");

void say(const char *line)
{
    QTextStream(stdout) << line << Qt::endl;
}

QString read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// Computer B: the application's own start-up in a session of its own. The
// person opens the Account tab, clicks "Sign in", and later picks languages.
VEILORA_TEST_PEER(computer_b)
{
    AppSettings::shared().setOnboardingCompleted(true);
    DBusSingleInstance instance(QDBusConnection::sessionBus());
    if (!instance.claim())
        return 10;
    AppDelegate delegate(AppSettings::shared(), ShellServices::live(), &instance);
    delegate.applicationDidFinishLaunching();
    ShellServices::live().showSettings(SettingsTab::account);

    AccountTab *tab = nullptr;
    if (!waitUntil(
            [&] {
                QWidget *window = SettingsWindowController::shared().window();
                tab = window ? window->findChild<AccountTab *>() : nullptr;
                return tab && tab->signInButton()->isVisible() && CloudAccount::shared().keychainAvailable();
            },
            20s))
        return 11;
    processEventsFor(300ms); // placed by the window manager
    click(tab->signInButton());
    say("signing-in");

    CloudSync &sync = CloudSync::shared();
    const auto settled = [&] { return sync.status() == CloudSync::Status::idle; };
    if (!waitUntil([&] { return CloudAccount::shared().state().signedIn; }, 60s))
        return 12;
    if (!waitUntil(
            [&] {
                return AppSettings::shared().languageCode() == QStringLiteral("de") &&
                       PrivacyGuard::shared().graceSeconds() == 25 && settled();
            },
            20s))
        return 13;
    say(qPrintable(QStringLiteral("applied %1 as %2")
                       .arg(PrivacyGuard::shared().graceSeconds())
                       .arg(CloudAccount::shared().state().email)));

    for (const char *language : {"ja", "ko"}) {
        if (!waitUntil([&] { return QFile::exists(QDir::home().filePath(QStringLiteral("go-") + language)); },
                       60s))
            return 14;
        AppSettings::shared().setLanguageCode(QString::fromLatin1(language));
        if (!waitUntil([&] {
                return settled() && UserDefaults::standard()
                                        .stringValue(QString::fromLatin1(CloudSync::lastBlobKey))
                                        .value_or(QString())
                                        .contains(QString::fromLatin1(language));
            }))
            return 15;
        say(qPrintable(QStringLiteral("uploaded ") + QString::fromLatin1(language)));
    }
    waitUntil([] { return false; }, 60s);
    return 0;
}

class CloudJourney : public ::testing::Test
{
protected:
    void SetUp() override
    {
        VEILORA_REQUIRE_KEYRING_AND_DESKTOP();
        forgetAccount();
    }

    // Starts computer B: this binary as the "computer_b" peer inside
    // isolated-session.sh, whose browser is open-in-test-browser.sh.
    QProcess *startComputerB(const QString &home)
    {
        const QString browserEntry = home + QStringLiteral("/data/applications/test-browser.desktop");
        QDir().mkpath(home + QStringLiteral("/data/applications"));
        QDir().mkpath(home + QStringLiteral("/config"));
        QFile entry(browserEntry);
        entry.open(QIODevice::WriteOnly);
        entry.write("[Desktop Entry]\nType=Application\nName=Test browser\nExec=" VEILORA_TEST_BROWSER
                    " %u\nMimeType=x-scheme-handler/http;x-scheme-handler/https;\n");
        entry.close();
        QFile mimeapps(home + QStringLiteral("/config/mimeapps.list"));
        mimeapps.open(QIODevice::WriteOnly);
        mimeapps.write("[Default Applications]\nx-scheme-handler/https=test-browser.desktop\n"
                       "x-scheme-handler/http=test-browser.desktop\n");
        mimeapps.close();

        auto *peer = new QProcess;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("VEILORA_TEST_HOME"), home);
        environment.remove(QStringLiteral("XDG_CURRENT_DESKTOP"));
        peer->setProcessEnvironment(environment);
        peer->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
        peer->start(QStringLiteral(VEILORA_ISOLATED_SESSION),
                    {home, QCoreApplication::applicationFilePath(), QStringLiteral("--peer"),
                     QStringLiteral("computer_b")});
        return peer;
    }
};

TEST_F(CloudJourney, SettingsFollowTheAccountFromComputerToComputer)
{
    TestServer server;
    QString error;
    ASSERT_TRUE(server.addUser(email, password, &error)) << error.toStdString();
    ASSERT_TRUE(server.start(&error)) << error.toStdString();
    // Both computers reach the server through the variables a self-hoster sets.
    qputenv("VEILORA_SERVER_URL", server.baseUrl().toString().toUtf8());
    qputenv("VEILORA_SERVER_CA", server.caCertificatePath().toUtf8());
    QProcess tray;
    tray.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
    tray.start(QStringLiteral("trayer"), {QStringLiteral("--edge"), QStringLiteral("bottom")});
    ASSERT_TRUE(waitUntil([] { return QSystemTrayIcon::isSystemTrayAvailable(); }));

    // Computer A signs in through the browser.
    Computer a;
    AccountUnderTest userA;
    CloudSync syncA(a.preferences, *userA.account, a.defaults);
    syncA.start();
    const auto baseA = [&] {
        return a.defaults.integerValue(QString::fromLatin1(CloudSync::baseVersionKey)).value_or(0);
    };
    userA.account->signIn();
    ASSERT_EQ(userA.opened.size(), 1u);
    const BrowserResult wrong = signInThroughPage(userA.opened.back(), email, QStringLiteral("not it"));
    EXPECT_EQ(wrong.status, 401);
    EXPECT_TRUE(wrong.body.contains(QStringLiteral("Wrong e-mail or password.")));
    const BrowserResult signedIn = signInThroughPage(userA.opened.back(), email, password);
    ASSERT_EQ(signedIn.status, 302) << signedIn.body.toStdString();
    ASSERT_EQ(signedIn.location.scheme(), QStringLiteral("veilora"));
    ASSERT_EQ(signedIn.location.host(), QStringLiteral("auth"));
    userA.account->handleCallback(signedIn.location);
    ASSERT_TRUE(waitUntil([&] { return userA.account->state() == CloudAccount::State::signedInAs(email); }));
    const QString tokenA = Keychain::get(QString::fromLatin1(Keychain::tokenKey)).value_or(QString());
    EXPECT_FALSE(tokenA.isEmpty());
    // The server held nothing: A's settings become version 1.
    ASSERT_TRUE(waitUntil([&] { return baseA() == 1 && syncA.status() == CloudSync::Status::idle; }));

    // A person on A picks a delay and a language; one upload follows.
    a.guard.setGraceSeconds(25);
    a.settings.setLanguageCode(QStringLiteral("de"));
    ASSERT_TRUE(waitUntil([&] { return baseA() == 2; }, 5s));

    // Computer B signs in from its Account tab and takes A's settings.
    QTemporaryDir homeB;
    std::unique_ptr<QProcess> computerB(startComputerB(homeB.path()));
    ASSERT_TRUE(waitForPeerLine(computerB.get(), QStringLiteral("signing-in"), 30000))
        << computerB->readAllStandardError().right(3000).toStdString();
    const QString browserUrls = homeB.filePath(QStringLiteral("browser-urls"));
    ASSERT_TRUE(waitUntil([&] { return !read(browserUrls).isEmpty(); })) << "B opened its browser";
    const QUrl pageB(read(browserUrls).trimmed());
    EXPECT_EQ(pageB.toString(QUrl::RemoveQuery),
              server.baseUrl().toString() + QStringLiteral("/app/connect"));
    const BrowserResult signedInB = signInThroughPage(pageB, email, password);
    ASSERT_EQ(signedInB.status, 302) << signedInB.body.toStdString();
    // The browser hands the redirect to the desktop, which starts veilora with it;
    // that start passes it to the running B over B's session bus.
    QProcess handOff;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                       read(homeB.filePath(QStringLiteral("bus-address"))).trimmed());
    handOff.setProcessEnvironment(environment);
    handOff.start(QStringLiteral(VEILORA_APP_EXECUTABLE), {signedInB.location.toString(QUrl::FullyEncoded)});
    ASSERT_TRUE(handOff.waitForFinished(30000));
    EXPECT_EQ(handOff.exitCode(), 0) << handOff.readAllStandardError().toStdString();
    ASSERT_TRUE(waitForPeerLine(computerB.get(), QStringLiteral("applied 25 as ") + email, 30000))
        << computerB->readAllStandardError().right(3000).toStdString();

    // B picks Japanese; A takes it at its next pull (switching sync on again).
    QFile(homeB.filePath(QStringLiteral("go-ja"))).open(QIODevice::WriteOnly);
    ASSERT_TRUE(waitForPeerLine(computerB.get(), QStringLiteral("uploaded ja"), 15000));
    syncA.setEnabled(false);
    syncA.setEnabled(true);
    ASSERT_TRUE(waitUntil([&] { return a.settings.languageCode() == QStringLiteral("ja"); }));
    EXPECT_EQ(a.guard.graceSeconds(), 25);
    EXPECT_EQ(baseA(), 3);

    // Both change the language; B's upload lands first, so A's is refused as
    // stale and A takes B's copy.
    QFile(homeB.filePath(QStringLiteral("go-ko"))).open(QIODevice::WriteOnly);
    ASSERT_TRUE(waitForPeerLine(computerB.get(), QStringLiteral("uploaded ko"), 15000));
    a.settings.setLanguageCode(QStringLiteral("fr"));
    ASSERT_TRUE(waitUntil([&] { return a.settings.languageCode() == QStringLiteral("ko"); }, 8s));
    EXPECT_EQ(baseA(), 4);
    EXPECT_TRUE(server.log().contains(QStringLiteral("PUT /api/sync/veilora 409")));

    // Signing out on A revokes its token on the server.
    userA.account->signOut();
    EXPECT_FALSE(userA.account->state().signedIn);
    ASSERT_TRUE(waitUntil([&] { return server.log().contains(QStringLiteral("POST /api/app/logout 200")); }));
    computerB->terminate();
    computerB->waitForFinished(5000);
    tray.terminate();
    tray.waitForFinished(5000);

    // Nothing secret anywhere a person or a log collector could read it.
    QStringList written{DebugLog::tail(), server.log(), read(a.defaults.filePath())};
    QDirIterator files(homeB.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        if (!path.contains(QStringLiteral("/keyring/")))
            written << read(path);
    }
    const QString codeB = QUrlQuery(signedInB.location).queryItemValue(QStringLiteral("code"));
    const QString codeA = QUrlQuery(signedIn.location).queryItemValue(QStringLiteral("code"));
    for (const QString &text : written) {
        for (const QString &secret : {tokenA, codeA, codeB, password}) {
            ASSERT_FALSE(secret.isEmpty());
            EXPECT_FALSE(text.contains(secret)) << "a secret was written: " << text.left(200).toStdString();
        }
    }
}

} // namespace
