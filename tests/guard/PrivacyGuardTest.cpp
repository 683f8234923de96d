#include "guard/PrivacyGuard.h"

#include "GuardTestFakes.h"
#include "diagnostics/DebugLog.h"
#include "guard/EnrollmentStatistics.h"
#include "guard/FaceProfileStore.h"
#include "platform/CameraAuthorization.h"
#include "platform/UserDefaults.h"
#include "platform/display/DisplayServices.h"
#include "support/FakeCameraAuthorization.h"
#include "support/FakeClock.h"
#include "support/FakeDisplayServices.h"
#include "support/TestPeer.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>
#include <iostream>
#include <memory>
#include <thread>

using namespace veilora;
using namespace veilora::test;
using namespace std::chrono_literals;

namespace {

int logCount(const QString &needle)
{
    return static_cast<int>(DebugLog::tail().count(needle));
}

class PrivacyGuardTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        for (const char *key : {"shieldEnabled", "shieldGraceSeconds", "shieldDebug", "shieldCameraID"})
            UserDefaults::standard().remove(QLatin1String(key));
        QFile::remove(FaceProfileStore::url());
        guard = makeGuard();
    }

    std::unique_ptr<PrivacyGuard> makeGuard()
    {
        return std::make_unique<PrivacyGuard>(parts.collaborators(&clock));
    }

    // Enrolled prints at 0° and 10°; `threshold` on the cosine scale.
    void enroll(double threshold)
    {
        FaceProfileStore::save({printAt(0), printAt(10)}, threshold);
        guard->reloadProfile();
        ASSERT_TRUE(guard->enrolled());
    }

    void watch(double threshold = 0.1)
    {
        enroll(threshold);
        guard->setEnabled(true);
        ASSERT_TRUE(guard->isWatching());
    }

    void sample(std::vector<FeaturePrint> prints, bool faceDetected = true, bool settling = false)
    {
        guard->handleSample({std::move(prints), faceDetected, settling});
    }

    FakeGuardParts parts;
    FakeGuardCamera &camera = parts.camera;
    FakeShield &shield = parts.shield;
    FakeAuthenticator &authenticator = parts.authenticator;
    FakeCameraAuthorization &authorization = parts.authorization;
    FakeDisplayServices &displays = parts.displays;
    FakeClock clock;
    std::unique_ptr<PrivacyGuard> guard;
};

TEST_F(PrivacyGuardTest, MatchingIsAtMostTheThresholdAsA32BitFloat)
{
    const float exact = *FeaturePrint::distance(printAt(40), printAt(10));
    watch(exact);
    clock.advanceSeconds(30);
    sample({printAt(40)});
    EXPECT_FALSE(guard->blurred()) << "a distance equal to the threshold matches";

    guard->setEnabled(false);
    watch(std::nextafter(exact, 0.0f));
    clock.advanceSeconds(30);
    sample({printAt(40)});
    EXPECT_TRUE(guard->blurred()) << "just above the threshold is absence";

    // The closest pair decides, whichever sample and enrolled print it involves.
    sample({printAt(90), printAt(12)});
    EXPECT_FALSE(guard->blurred());
    EXPECT_EQ(shield.shows, 1);
    EXPECT_EQ(shield.hides, 1);
}

TEST_F(PrivacyGuardTest, GraceDelayIsStrictAndRunsFromTheLastPresence)
{
    watch();
    sample({printAt(0)});
    clock.advanceSeconds(10.0);
    sample({}, false);
    EXPECT_FALSE(guard->blurred()) << "exactly the grace delay is not yet absence";
    clock.advanceSeconds(0.01);
    sample({}, false);
    EXPECT_TRUE(guard->blurred());
    EXPECT_TRUE(shield.up);

    sample({printAt(3)});
    EXPECT_FALSE(guard->blurred()) << "the enrolled face clears the blur at once";
    EXPECT_DOUBLE_EQ(camera.interval, 2.0) << "relaxed sampling while present";
    sample({printAt(170)});
    EXPECT_DOUBLE_EQ(camera.interval, 0.6);

    guard->setGraceSeconds(0);
    clock.advanceSeconds(0.001);
    sample({printAt(170)});
    EXPECT_TRUE(guard->blurred()) << "with no grace any later unknown sample blurs";
}

TEST_F(PrivacyGuardTest, ManualUnlockKeepsAnUnknownFaceClearUntilNobodyIsSeen)
{
    watch();
    clock.advanceSeconds(11);
    sample({}, false);
    ASSERT_TRUE(guard->blurred());

    parts.unlockReason = QStringLiteral("den Schleier aufheben");
    shield.onUnlockRequested();
    ASSERT_EQ(authenticator.reasons.size(), 1u);
    EXPECT_EQ(authenticator.reasons[0], QStringLiteral("den Schleier aufheben"));
    authenticator.pending(false, std::nullopt);
    processEventsFor(50ms);
    EXPECT_TRUE(guard->blurred()) << "a failed authentication leaves the blur";

    shield.onUnlockRequested();
    authenticator.pending(true, std::nullopt);
    ASSERT_TRUE(waitUntil([&] { return !guard->blurred(); }));
    EXPECT_TRUE(guard->manualOverride());

    for (int i = 0; i < 10; ++i) {
        clock.advanceSeconds(9);
        sample({printAt(170)});
    }
    EXPECT_FALSE(guard->blurred()) << "someone in view keeps the screen clear";
    clock.advanceSeconds(9);
    sample({}, false);
    clock.advanceSeconds(2);
    sample({}, false);
    EXPECT_TRUE(guard->blurred());
    EXPECT_FALSE(guard->manualOverride()) << "the blur coming on ends the override";

    authenticator.available = false;
    const int before = logCount(QStringLiteral("ローカル認証を利用できません: ?"));
    shield.onUnlockRequested();
    EXPECT_EQ(logCount(QStringLiteral("ローカル認証を利用できません: ?")), before + 1);
    EXPECT_TRUE(guard->blurred());
}

TEST_F(PrivacyGuardTest, SamplesAreIgnoredWhilePausedAndOnlyCollectedDuringCapture)
{
    watch();
    clock.advanceSeconds(30);
    guard->screensDidSleep();
    EXPECT_FALSE(camera.running);
    sample({}, false);
    EXPECT_FALSE(guard->blurred()) << "frames still in flight after sleep are ignored";
    guard->screensDidWake();
    EXPECT_TRUE(camera.running);
    sample({}, false);
    EXPECT_FALSE(guard->blurred()) << "wake restarts the grace delay";

    clock.advanceSeconds(60);
    std::optional<PrivacyGuard::EnrollOutcome> outcome;
    guard->captureEnrollment([&](PrivacyGuard::EnrollOutcome result) { outcome = result; });
    const double interval = camera.interval;
    sample({printAt(80), printAt(0)});
    sample({}, true);
    EXPECT_FALSE(guard->blurred()) << "no presence decision while collecting";
    EXPECT_EQ(camera.interval, interval);
    clock.advanceSeconds(10);
    ASSERT_TRUE(outcome);
    EXPECT_EQ(std::get<EnrollError>(*outcome), EnrollError::noFace) << "one print is not enough";
    EXPECT_FALSE(guard->isCollecting());
}

TEST_F(PrivacyGuardTest, FaceCheckLineIsThrottledAndNeedsAFace)
{
    watch();
    const QString line = QStringLiteral("shield: 顔判定: dist=");
    const int before = logCount(line);
    const int matchedBefore = logCount(QStringLiteral("顔判定: dist=0.000 thr=0.100 本人"));
    const int noPrintBefore = logCount(QStringLiteral("顔判定: dist=-1.000 thr=0.100 不一致"));
    sample({printAt(0)});
    EXPECT_EQ(logCount(line), before + 1);
    EXPECT_EQ(logCount(QStringLiteral("顔判定: dist=0.000 thr=0.100 本人")), matchedBefore + 1);
    clock.advanceSeconds(10.0);
    sample({printAt(0)});
    EXPECT_EQ(logCount(line), before + 1) << "exactly ten seconds later is still throttled";
    clock.advanceSeconds(0.5);
    sample({}, false);
    EXPECT_EQ(logCount(line), before + 1) << "no face, no line";
    sample({}, true);
    EXPECT_EQ(logCount(line), before + 2);
    EXPECT_EQ(logCount(QStringLiteral("顔判定: dist=-1.000 thr=0.100 不一致")), noPrintBefore + 1)
        << "a face without a print logs distance -1";
}

TEST_F(PrivacyGuardTest, SetBlurIsIdempotent)
{
    const QString line = QStringLiteral("離席検知 → 画面をブラー");
    const int before = logCount(line);
    guard->setBlur(true);
    guard->setBlur(true);
    EXPECT_EQ(shield.shows, 1);
    EXPECT_EQ(logCount(line), before + 1);
    guard->setBlur(false);
    guard->setBlur(false);
    EXPECT_EQ(shield.hides, 1);
}

TEST_F(PrivacyGuardTest, PreferencesPersistWithTheirFallbacks)
{
    guard->setEnabled(true);
    EXPECT_FALSE(guard->isWatching()) << "nothing to watch without a profile";
    EXPECT_EQ(UserDefaults::standard().boolValue(QStringLiteral("shieldEnabled")), true);
    guard->reloadProfile();
    EXPECT_FALSE(guard->enabledPref()) << "no profile switches protection off again";

    guard->setGraceSeconds(0);
    EXPECT_EQ(UserDefaults::standard().integerValue(QStringLiteral("shieldGraceSeconds")), 0);
    EXPECT_EQ(makeGuard()->graceSeconds(), 10);
    guard->setGraceSeconds(45);
    EXPECT_EQ(makeGuard()->graceSeconds(), 45);
    UserDefaults::standard().setString(QStringLiteral("shieldGraceSeconds"), QStringLiteral("30"));
    EXPECT_EQ(makeGuard()->graceSeconds(), 10) << "a value of the wrong type reads as the default";
}

TEST_F(PrivacyGuardTest, PermissionAnswerIsRecheckedWhenItArrives)
{
    authorization.current = CameraAuthorization::Status::notDetermined;
    enroll(0.1);
    guard->setEnabled(true);
    guard->setEnabled(true);
    ASSERT_EQ(authorization.waiting.size(), 2u);
    authorization.answer(true);
    ASSERT_TRUE(waitUntil([&] { return guard->isWatching(); }));
    processEventsFor(20ms);
    EXPECT_EQ(camera.starts, 1) << "the second answer finds watching on";

    guard->setEnabled(false);
    authorization.current = CameraAuthorization::Status::notDetermined;
    guard->setEnabled(true);
    guard->setEnabled(false);
    authorization.answer(false);
    ASSERT_TRUE(waitUntil([&] { return guard->cameraDenied(); }));
    EXPECT_FALSE(guard->isWatching());

    authorization.current = CameraAuthorization::Status::denied;
    guard->setEnabled(true);
    EXPECT_FALSE(guard->isWatching());
    EXPECT_TRUE(guard->enabledPref()) << "the switch stays on for when access is granted";
}

TEST_F(PrivacyGuardTest, EnrollmentStoresWhatArrivesBeforeTheDeadline)
{
    const auto capture = [&](int prints, double spacingSeconds) {
        std::optional<PrivacyGuard::EnrollOutcome> outcome;
        guard->captureEnrollment([&](PrivacyGuard::EnrollOutcome result) { outcome = result; });
        for (int i = 0; i < prints; ++i) {
            clock.advanceSeconds(spacingSeconds);
            sample({printAt(i * 2.0), printAt(90)});
        }
        clock.advanceSeconds(11);
        return outcome;
    };

    auto five = capture(5, 0.3);
    ASSERT_TRUE(five);
    EXPECT_EQ(std::get<int>(*five), 5);
    ASSERT_TRUE(FaceProfileStore::load());
    EXPECT_EQ(FaceProfileStore::load()->prints.size(), 5u);
    EXPECT_EQ(FaceProfileStore::load()->prints[4], printAt(8)) << "the first print of each sample, in order";
    EXPECT_TRUE(guard->enrolled());

    auto four = capture(4, 2.4);
    ASSERT_TRUE(four);
    EXPECT_EQ(std::get<int>(*four), 4);

    auto two = capture(2, 1.0);
    ASSERT_TRUE(two);
    EXPECT_EQ(std::get<EnrollError>(*two), EnrollError::noFace);
    EXPECT_EQ(FaceProfileStore::load()->prints.size(), 4u) << "the previous profile stays";
    EXPECT_FALSE(guard->isCollecting());
}

TEST_F(PrivacyGuardTest, FramesFromWhileTheCameraSettlesAreNotLearntButStillShowPresence)
{
    std::optional<PrivacyGuard::EnrollOutcome> outcome;
    guard->captureEnrollment([&](PrivacyGuard::EnrollOutcome result) { outcome = result; });
    for (int i = 0; i < 4; ++i) {
        clock.advanceSeconds(0.3);
        sample({printAt(60)}, true, true); // washed out by the exposure still adjusting
    }
    for (int i = 0; i < 5; ++i) {
        clock.advanceSeconds(0.3);
        sample({printAt(i)});
    }
    clock.advanceSeconds(1);
    ASSERT_TRUE(outcome);
    EXPECT_EQ(std::get<int>(*outcome), 5);
    ASSERT_TRUE(guard->profile());
    EXPECT_EQ(guard->profile()->prints.front(), printAt(0));
    EXPECT_FLOAT_EQ(float(guard->profile()->threshold), 0.35f)
        << "a settling print would lift it to the ceiling";

    guard->setEnabled(true);
    ASSERT_TRUE(guard->isWatching());
    clock.advanceSeconds(9);
    sample({printAt(2)}, true, true);
    clock.advanceSeconds(9);
    sample({}, false);
    EXPECT_FALSE(guard->blurred()) << "a settling sample of the user still counts as presence";
}

TEST_F(PrivacyGuardTest, ThePreviewRunsTheCameraAtItsOwnRateUntilItEnds)
{
    guard->beginEnrollmentPreview();
    EXPECT_TRUE(camera.previewing);
    EXPECT_TRUE(camera.running);
    EXPECT_DOUBLE_EQ(camera.interval, 0.3);
    guard->endEnrollmentPreview();
    EXPECT_FALSE(camera.previewing);
    EXPECT_FALSE(camera.running);

    authorization.current = CameraAuthorization::Status::denied;
    guard->beginEnrollmentPreview();
    EXPECT_FALSE(camera.previewing) << "no camera, no preview";
    guard->endEnrollmentPreview();
}

TEST_F(PrivacyGuardTest, DeletingTheEnrollmentSwitchesProtectionOffAndClearsTheBlur)
{
    watch();
    clock.advanceSeconds(11);
    sample({}, false);
    ASSERT_TRUE(guard->blurred());
    guard->deleteEnrollment();
    EXPECT_FALSE(guard->enrolled());
    EXPECT_FALSE(guard->enabledPref());
    EXPECT_FALSE(guard->blurred());
    EXPECT_FALSE(camera.running);
    EXPECT_FALSE(FaceProfileStore::load());
}

TEST_F(PrivacyGuardTest, LidPausesWatchingOnlyWithTheBuiltinCamera)
{
    watch();
    clock.advanceSeconds(11);
    sample({}, false);
    ASSERT_TRUE(guard->blurred());

    displays.displays = std::vector<ActiveDisplay>{{QStringLiteral("HDMI-1"), false, false}};
    guard->updateLidState();
    EXPECT_TRUE(guard->isLidSuspended());
    EXPECT_FALSE(camera.running);
    EXPECT_FALSE(guard->blurred());

    guard->screensDidSleep();
    guard->screensDidWake();
    EXPECT_FALSE(camera.running) << "wake keeps the camera off while the lid is closed";

    // The user picks the external camera: the next lid check lifts the pause.
    guard->selectCamera(QStringLiteral("usb-1"));
    EXPECT_EQ(guard->selectedCameraID(), QStringLiteral("usb-1"));
    clock.advance(499ms);
    EXPECT_TRUE(guard->isLidSuspended());
    clock.advance(1ms);
    EXPECT_FALSE(guard->isLidSuspended());
    EXPECT_TRUE(camera.running);
    sample({}, false);
    EXPECT_FALSE(guard->blurred()) << "resuming restarts the grace delay";

    guard->updateLidState();
    EXPECT_FALSE(guard->isLidSuspended()) << "an external camera is never paused by the lid";
}

TEST_F(PrivacyGuardTest, AutomaticCameraSwitchUpdatesSelectionAndRestartsGrace)
{
    watch();
    clock.advanceSeconds(9);
    camera.active = QStringLiteral("usb-1");
    camera.onDeviceChange();
    ASSERT_TRUE(waitUntil([&] { return guard->selectedCameraID() == QStringLiteral("usb-1"); }));
    clock.advanceSeconds(9);
    sample({}, false);
    EXPECT_FALSE(guard->blurred());
}

TEST_F(PrivacyGuardTest, SamplesFromTheCameraThreadReachTheGuardOnTheMainThread)
{
    watch();
    clock.advanceSeconds(11);
    std::thread worker([&] { camera.onSample({{}, false}); });
    worker.join();
    EXPECT_FALSE(guard->blurred()) << "delivery is queued, never inline";
    ASSERT_TRUE(waitUntil([&] { return guard->blurred(); }));

    auto callback = camera.onSample;
    guard.reset();
    std::thread late([&] { callback({{}, false}); });
    late.join();
    processEventsFor(20ms); // a sample for a guard that is gone is dropped
}

// The threshold rule on prints whose distances are known: at 24.3° apart two
// prints are 0.0886 apart, at 31° 0.1428, at 90° 1.
TEST(EnrollmentThresholdTest, ATightEnrollmentGetsTheFloor)
{
    const EnrollmentStatistics same = EnrollmentStatistics::of({printAt(5), printAt(5), printAt(5)});
    EXPECT_EQ(same.maxPair, 0.0f);
    EXPECT_FLOAT_EQ(float(same.threshold), 0.35f);
    const EnrollmentStatistics tight = EnrollmentStatistics::of({printAt(0), printAt(10), printAt(20)});
    EXPECT_NEAR(tight.maxPair, 0.0603, 1e-4);
    EXPECT_FLOAT_EQ(float(tight.threshold), 0.35f);
}

TEST(EnrollmentThresholdTest, ASpreadEnrollmentLiftsItUpToTheCeiling)
{
    // Two prints: the mean pair term decides.
    EXPECT_NEAR(EnrollmentStatistics::of({printAt(0), printAt(24.3)}).threshold, 4.0 * 0.08860, 1e-4);
    // One print apart from four alike: the largest pair term decides.
    EXPECT_NEAR(
        EnrollmentStatistics::of({printAt(0), printAt(0), printAt(0), printAt(0), printAt(31)}).threshold,
        2.5 * 0.14283, 1e-4);
    // One print of something else entirely would let strangers in: capped.
    const EnrollmentStatistics bad =
        EnrollmentStatistics::of({printAt(0), printAt(1), printAt(2), printAt(3), printAt(90)});
    EXPECT_NEAR(bad.maxPair, 1.0, 0.01);
    EXPECT_FLOAT_EQ(float(bad.threshold), 0.36f);
}

TEST(EnrollmentThresholdTest, PairsThatCannotBeComparedAreLeftOut)
{
    FeaturePrint other = printAt(90);
    other.model = QStringLiteral("another model");
    const EnrollmentStatistics stats = EnrollmentStatistics::of({printAt(0), printAt(0), other});
    EXPECT_EQ(stats.maxPair, 0.0f);
    EXPECT_EQ(stats.mean, 0.0f);
    EXPECT_FLOAT_EQ(float(stats.threshold), 0.35f);
}

} // namespace

// Another running copy of the application, watching with the shared profile.
VEILORA_TEST_PEER(watcher)
{
    FakeGuardParts parts;
    FakeGuardCamera &camera = parts.camera;
    PrivacyGuard guard(parts.collaborators(nullptr));
    guard.bootstrap();
    guard.setEnabled(true);
    std::cout << (guard.isWatching() ? "watching" : "idle") << std::endl;
    // Queued: the switch is announced before watching has wound down.
    QObject::connect(
        &guard, &PrivacyGuard::enabledPrefChanged, &guard,
        [&](bool on) {
            if (!on && !camera.running) {
                std::cout << "off" << std::endl;
                QCoreApplication::quit();
            }
        },
        Qt::QueuedConnection);
    return QCoreApplication::exec();
}

TEST_F(PrivacyGuardTest, ProfileDeletedElsewhereSwitchesProtectionOffHere)
{
    if (!QDBusConnection::sessionBus().isConnected()) {
        if (inTestSession())
            FAIL() << "no session bus inside the test session";
        GTEST_SKIP() << "needs a session bus";
    }
    FaceProfileStore::save({printAt(0), printAt(10)}, 0.1);
    std::unique_ptr<QProcess> peer(startPeer(QStringLiteral("watcher")));
    ASSERT_TRUE(waitForPeerLine(peer.get(), QStringLiteral("watching")));

    guard->reloadProfile();
    guard->deleteEnrollment();
    EXPECT_TRUE(waitForPeerLine(peer.get(), QStringLiteral("off"), 5000));
    EXPECT_TRUE(peer->waitForFinished(5000));
}
