// The Account tab over the real account and sync (real keyring, scripted
// server), used with real clicks on the X server: sign in, the sync switch,
// sign out, a failing sync, and a desktop without a keyring.
#include "settings/AccountTab.h"

#include "CloudTestSupport.h"
#include "ScriptedServer.h"
#include "controls/PillButton.h"
#include "localization/L10n.h"
#include "settings/SettingsRow.h"
#include "settings/SettingsView.h"
#include "settings/SettingsWindow.h"
#include "settings/SettingsWindowController.h"
#include "settings/ToggleSwitch.h"
#include "support/RealInput.h"
#include "support/TestPeer.h"

#include <QFile>
#include <QProcess>
#include <QTextStream>
#include <QUrlQuery>

using namespace veilora;
using namespace veilora::test;
using namespace std::chrono_literals;

namespace {

const QString syncPath = QStringLiteral("/api/sync/veilora");

struct AccountWindow
{
    Computer here;
    AccountUnderTest user;
    CloudSync sync{here.preferences, *user.account, here.defaults};
    CloudAccountModel model{*user.account, sync};
    SettingsWindowController controller{
        SettingsServices{&here.guard, &here.settings, {}, nullptr, {}, &model}};

    AccountTab *open()
    {
        sync.start();
        controller.show(SettingsTab::account);
        SettingsWindow *window = controller.window();
        if (!window || !waitUntil([window] { return window->isActiveWindow(); }))
            return nullptr;
        processEventsFor(200ms); // placed by the window manager
        return qobject_cast<AccountTab *>(window->view()->tabView());
    }

    ~AccountWindow()
    {
        if (QPointer<SettingsWindow> window = controller.window()) {
            window->close();
            waitUntil([&] { return window.isNull(); });
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
};

class AccountTabTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        VEILORA_REQUIRE_KEYRING_AND_DESKTOP();
        L10n::shared().apply(QStringLiteral("en"));
        server = &ScriptedServer::shared();
        server->reset();
        forgetAccount();
    }

    ScriptedServer *server = nullptr;
};

TEST_F(AccountTabTest, SignInSyncSwitchAndSignOutAsAPersonUsesThem)
{
    server->answer("POST", QStringLiteral("/api/app/token"),
                   {{200, R"({"token":"tab","email":"grace@example.org"})"}});
    server->answer("GET", syncPath, {{200, "{}"}});
    server->answer("PUT", syncPath, {{200, R"({"version":1})"}});
    AccountWindow window;
    AccountTab *tab = window.open();
    ASSERT_NE(tab, nullptr);
    EXPECT_EQ(tab->signedOutRow()->title(), QStringLiteral("Not signed in"));
    EXPECT_FALSE(tab->syncRow()->isVisible()) << "no sync switch while signed out";

    click(tab->signInButton());
    ASSERT_TRUE(waitUntil([&] { return window.user.opened.size() == 1; })) << "the browser opens";
    const QString state = QUrlQuery(window.user.opened.front()).queryItemValue(QStringLiteral("state"));
    window.user.account->handleCallback(QUrl(QStringLiteral("veilora://auth?code=c&state=") + state));
    ASSERT_TRUE(waitUntil([&] { return tab->signedInRow()->isVisible(); }));
    EXPECT_EQ(tab->signedInRow()->title(), QStringLiteral("grace@example.org"));
    EXPECT_FALSE(tab->signedOutRow()->isVisible());
    EXPECT_TRUE(tab->syncSwitch()->isVisible());
    EXPECT_TRUE(tab->syncSwitch()->isChecked());
    ASSERT_TRUE(waitUntil([&] { return !server->requestsTo("PUT", syncPath).empty(); })) << "first sync";

    click(tab->syncSwitch());
    ASSERT_TRUE(waitUntil([&] { return !window.sync.enabled(); }));
    EXPECT_EQ(window.here.defaults.boolValue(QString::fromLatin1(CloudSync::enabledKey)), false);

    // A failing download says so under the switch, until a pass succeeds.
    server->answer("GET", syncPath, {{500, "{}"}, {200, R"({"version":1,"blob":"{\"graceSeconds\":10}"})"}});
    click(tab->syncSwitch());
    ASSERT_TRUE(waitUntil([&] { return window.sync.status() == CloudSync::Status::error; }));
    EXPECT_TRUE(tab->syncRow()->subtitle()->startsWith(QStringLiteral("The last sync did not reach")));
    window.here.settings.setLanguageCode(QStringLiteral("en"));
    window.sync.setEnabled(true);
    ASSERT_TRUE(waitUntil([&] { return window.sync.status() == CloudSync::Status::idle; }));
    EXPECT_EQ(tab->syncRow()->subtitle(), QStringLiteral("Keep settings in sync across your computers."));

    click(tab->signOutButton());
    EXPECT_TRUE(waitUntil([&] { return tab->signedOutRow()->isVisible(); }, 1s)) << "signed out at once";
    EXPECT_FALSE(tab->syncRow()->isVisible());
    ASSERT_TRUE(
        waitUntil([&] { return !server->requestsTo("POST", QStringLiteral("/api/app/logout")).empty(); }));
    EXPECT_EQ(Keychain::get(QString::fromLatin1(Keychain::tokenKey)), std::nullopt);
}

TEST_F(AccountTabTest, AnAccountWithoutAnEmailShowsSignedIn)
{
    Keychain::set(QStringLiteral("tab"), QString::fromLatin1(Keychain::tokenKey));
    AccountWindow window;
    AccountTab *tab = window.open();
    ASSERT_NE(tab, nullptr);
    ASSERT_TRUE(waitUntil([&] { return tab->signedInRow()->isVisible(); }));
    EXPECT_EQ(tab->signedInRow()->title(), QStringLiteral("Signed in"));
}

// A desktop whose session bus has no Secret Service at all.
VEILORA_TEST_PEER(no_keyring)
{
    AccountWindow window;
    AccountTab *tab = window.open();
    if (!tab || !waitUntil([&] { return window.user.account->keychainAvailable().has_value(); }))
        return 10;
    processEventsFor(200ms);
    QTextStream(stdout) << tab->signedOutRow()->title() << '|' << tab->signInButton()->isVisible() << '|'
                        << window.user.account->state().signedIn << Qt::endl;
    return 0;
}

TEST_F(AccountTabTest, WithoutAKeyringTheTabSaysSoInsteadOfOfferingASignIn)
{
    // A bus that knows no services to start: no keyring can appear on it.
    QTemporaryDir folder;
    QFile config(folder.filePath(QStringLiteral("bus.conf")));
    ASSERT_TRUE(config.open(QIODevice::WriteOnly));
    config.write("<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
                 " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                 "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen>"
                 "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                 "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n");
    config.close();
    QProcess peer;
    peer.start(QStringLiteral("dbus-run-session"),
               {QStringLiteral("--config-file=") + config.fileName(), QStringLiteral("--"),
                QCoreApplication::applicationFilePath(), QStringLiteral("--peer"),
                QStringLiteral("no_keyring")});
    ASSERT_TRUE(waitForPeerLine(&peer, QStringLiteral("No keyring available|0|0"), 30000))
        << peer.readAllStandardOutput().toStdString()
        << peer.readAllStandardError().right(2000).toStdString();
    peer.waitForFinished(10000);
}

} // namespace
