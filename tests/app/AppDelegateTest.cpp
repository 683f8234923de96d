#include "app/AppDelegate.h"

#include "ShellTestServices.h"
#include "app/CameraConsentQuestion.h"
#include "app/LaunchOptions.h"
#include "app/StatusItemController.h"
#include "platform/LoginItem.h"
#include "platform/SingleInstance.h"
#include "platform/UserDefaults.h"
#include "settings/AppSettings.h"
#include "support/FakeLoginItem.h"
#include "support/TestPeer.h"
#include "support/TestSupport.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QGuiApplication>
#include <QLineEdit>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace veilora;
using namespace veilora::test;

namespace {

class AppDelegateTest : public ::testing::Test
{
protected:
    void SetUp() override { defaults.setBool(QString::fromLatin1(AppSettings::launchAtLoginKey), false); }

    std::unique_ptr<AppDelegate> make(SingleInstance *instance = nullptr)
    {
        return std::make_unique<AppDelegate>(settings, rec.services(), instance);
    }

    QTemporaryDir dir;
    UserDefaults defaults{dir.filePath(QStringLiteral("defaults.json"))};
    FakeLoginItem loginItem;
    AppSettings settings{defaults, loginItem};
    RecordingServices rec;
};

TEST_F(AppDelegateTest, FirstStartBringsUpEverythingInOrder)
{
    rec.feedURL = QStringLiteral("https://updates.example/appcast.xml");
    auto delegate = make();
    EXPECT_TRUE(rec.calls.isEmpty()) << "nothing starts before launching has finished";
    delegate->applicationDidFinishLaunching();
    EXPECT_EQ(rec.calls,
              (QStringList{QStringLiteral("l10n.bootstrap"), QStringLiteral("guard.make"),
                           QStringLiteral("guard.bootstrap"), QStringLiteral("onboarding.show"),
                           QStringLiteral("updater.start"), QStringLiteral("cloudAccount.start"),
                           QStringLiteral("cloudSync.start"), QStringLiteral("crashReporter.subscribe"),
                           QStringLiteral("testerMode.start")}));
    ASSERT_NE(delegate->permissionTimer(), nullptr);
    EXPECT_TRUE(delegate->permissionTimer()->isActive());
    EXPECT_EQ(delegate->permissionTimer()->interval(), 2000);

    // The timer follows permission changes made outside the application.
    rec.guard.enabled = rec.guard.isEnrolled = true;
    delegate->statusItem().refreshIcon();
    ASSERT_EQ(delegate->statusItem().state(), MenuBarIcon::State::active);
    rec.camera.current = CameraAuthorization::Status::denied;
    EXPECT_TRUE(
        waitUntil([&] { return delegate->statusItem().state() == MenuBarIcon::State::permissionWarning; }));
}

TEST_F(AppDelegateTest, LaterStartWithoutFeedHasNoOnboardingAndNoUpdater)
{
    settings.setOnboardingCompleted(true);
    auto delegate = make();
    delegate->applicationDidFinishLaunching();
    EXPECT_FALSE(rec.calls.contains(QStringLiteral("onboarding.show")));
    EXPECT_FALSE(rec.calls.contains(QStringLiteral("updater.start")));
    EXPECT_TRUE(rec.calls.contains(QStringLiteral("testerMode.start")));
}

TEST_F(AppDelegateTest, UrlsReachTheCloudAccountOnceAndOnlyAfterLaunch)
{
    auto delegate = make();
    delegate->handleGetURLEvent(QStringLiteral("veilora://auth?code=early"));
    EXPECT_TRUE(rec.callbacks.empty());
    delegate->applicationDidFinishLaunching();
    delegate->handleGetURLEvent(QStringLiteral("just some words"));
    delegate->handleGetURLEvent(QStringLiteral("/home/someone/file.txt"));
    delegate->handleGetURLEvent(QString(9000, u'a').prepend(QStringLiteral("veilora://")));
    delegate->handleGetURLEvent(QStringLiteral("veilora://auth?code=late&state=s"));
    ASSERT_EQ(rec.callbacks.size(), 2u);
    EXPECT_EQ(rec.callbacks[0], QUrl(QStringLiteral("veilora://auth?code=early")));
    EXPECT_EQ(rec.callbacks[1], QUrl(QStringLiteral("veilora://auth?code=late&state=s")));
}

TEST(LaunchOptionsTest, ReadsTheArguments)
{
    LaunchOptions options = parseLaunchOptions(
        {QStringLiteral("stray"), QStringLiteral("--camera-file"), QStringLiteral("/tmp/me.webm"),
         QStringLiteral("veilora://auth?x=1"), QStringLiteral("https://second.example/")});
    EXPECT_EQ(options.cameraFile, QStringLiteral("/tmp/me.webm"));
    EXPECT_EQ(options.url, QStringLiteral("veilora://auth?x=1"));
    EXPECT_EQ(options.ignoredArguments, 2);
    EXPECT_TRUE(options.error.isEmpty());
    EXPECT_EQ(parseLaunchOptions({QStringLiteral("--camera-file=/v.mp4")}).cameraFile,
              QStringLiteral("/v.mp4"));
    EXPECT_FALSE(parseLaunchOptions({QStringLiteral("--camera-file")}).error.isEmpty());
}

// A later start of the application: claims or hands over as `main` does. The
// first argument names the bus service, the rest are the start's arguments.
VEILORA_TEST_PEER(laterStart)
{
    DBusSingleInstance instance(QDBusConnection::sessionBus(), args.value(0));
    QString error;
    switch (claimOrHandOff(instance, parseLaunchOptions(args.mid(1)), &error)) {
    case LaunchRole::handedOff:
        return 0;
    case LaunchRole::primary:
        return 10;
    case LaunchRole::failed:
        return 11;
    }
    return 12;
}

TEST_F(AppDelegateTest, LaterStartsHandTheirUrlOrActivationToTheRunningOne)
{
    if (!QDBusConnection::sessionBus().isConnected()) {
        if (inTestSession())
            FAIL() << "no session bus in the test session";
        GTEST_SKIP() << "needs a session bus";
    }
    const QString service =
        QStringLiteral("com.norvane.Veilora.test%1").arg(QCoreApplication::applicationPid());
    DBusSingleInstance instance(QDBusConnection::sessionBus(), service);
    ASSERT_TRUE(instance.claim());
    auto delegate = make(&instance);
    delegate->applicationDidFinishLaunching();
    rec.calls.clear();

    const auto start = [&](const QStringList &args) {
        std::unique_ptr<QProcess> peer(startPeer(QStringLiteral("laterStart"), QStringList{service} + args));
        // The running instance answers from this event loop, so wait with it turning.
        EXPECT_TRUE(
            waitUntil([&] { return peer->state() == QProcess::NotRunning; }, std::chrono::seconds(30)));
        return peer->exitCode();
    };
    EXPECT_EQ(start({QStringLiteral("veilora://auth?code=c0de&state=st")}), 0);
    ASSERT_TRUE(waitUntil([&] { return !rec.callbacks.empty(); }));
    EXPECT_EQ(start({QStringLiteral("not-a-url")}), 0);
    ASSERT_TRUE(waitUntil([&] { return !rec.calls.isEmpty(); }));
    EXPECT_EQ(start({}), 0);
    ASSERT_TRUE(waitUntil([&] { return rec.calls.size() == 2; }));

    ASSERT_EQ(rec.callbacks.size(), 1u);
    EXPECT_EQ(rec.callbacks[0], QUrl(QStringLiteral("veilora://auth?code=c0de&state=st")));
    EXPECT_EQ(rec.calls,
              (QStringList{QStringLiteral("settings.show(last)"), QStringLiteral("settings.show(last)")}));
}

TEST_F(AppDelegateTest, CtrlQQuitsFromAnyWindowWhileTextFieldsKeepTheirEditingKeys)
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        GTEST_SKIP() << "needs an X display";
    auto delegate = make();
    delegate->installEditMenu();
    QLineEdit field;
    field.show();
    field.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&field));
    QWindow *window = field.windowHandle();
    QTest::keyClicks(&field, QStringLiteral("abc"));
    for (const Qt::Key key : {Qt::Key_A, Qt::Key_C, Qt::Key_Right, Qt::Key_V})
        QTest::keyClick(window, key, key == Qt::Key_Right ? Qt::NoModifier : Qt::ControlModifier);
    EXPECT_EQ(field.text(), QStringLiteral("abcabc"));
    EXPECT_TRUE(rec.calls.isEmpty());
    QTest::keyClick(window, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(rec.calls, QStringList{QStringLiteral("quit")});
}

TEST(CameraConsentQuestionTest, QuestionsAskedMeanwhileShareOneWindowAndItsAnswer)
{
    CameraConsentQuestion &question = CameraConsentQuestion::shared();
    std::vector<bool> answers;
    question.ask([&](bool granted) { answers.push_back(granted); });
    QMessageBox *window = question.window();
    ASSERT_NE(window, nullptr);
    question.ask([&](bool granted) { answers.push_back(granted); });
    EXPECT_EQ(question.window(), window);
    for (QAbstractButton *button : window->buttons()) {
        if (window->buttonRole(button) == QMessageBox::AcceptRole)
            button->click();
    }
    EXPECT_EQ(answers, (std::vector<bool>{true, true}));

    // Closing the window without a choice is a refusal.
    question.ask([&](bool granted) { answers.push_back(granted); });
    ASSERT_NE(question.window(), nullptr);
    question.window()->close();
    EXPECT_EQ(answers, (std::vector<bool>{true, true, false}));
}

} // namespace
