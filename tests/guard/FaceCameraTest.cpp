#include "guard/FaceCamera.h"

#include "diagnostics/DebugLog.h"
#include "platform/MainThread.h"
#include "platform/UserDefaults.h"
#include "support/FakeCaptureDevices.h"
#include "support/FakeClock.h"
#include "support/FakeFaceVision.h"
#include "support/TestSupport.h"

#include <QMutex>
#include <QUuid>

#include <gtest/gtest.h>

using namespace veilora;
using namespace std::chrono_literals;

namespace {

CameraDevice camera(const QString &id, CameraDevice::Kind kind = CameraDevice::Kind::external)
{
    return {id, QStringLiteral("Camera ") + id, kind, QStringLiteral("/dev/") + id};
}

const CameraDevice builtin = camera(QStringLiteral("builtin"), CameraDevice::Kind::builtin);
const CameraDevice external = camera(QStringLiteral("external"));

int logCount(const QString &message)
{
    int count = 0;
    for (const QString &line : DebugLog::tail().split(QLatin1Char('\n')))
        count += line.endsWith(QLatin1Char(' ') + message);
    return count;
}

// A frame whose pixels tell where they are: red and green hold x, blue and the
// high bits of green hold y. A crop's top-left pixel gives its position.
QImage codedFrame()
{
    QImage frame(640, 480, QImage::Format_RGB32);
    for (int y = 0; y < frame.height(); ++y) {
        for (int x = 0; x < frame.width(); ++x)
            frame.setPixel(x, y, qRgb(x & 0xff, (x >> 8) | ((y >> 8) << 4), y & 0xff));
    }
    return frame;
}

QRect cropInFrame(const QImage &crop)
{
    const QRgb p = crop.pixel(0, 0);
    const QPoint origin(qRed(p) | ((qGreen(p) & 0xf) << 8), qBlue(p) | ((qGreen(p) >> 4) << 8));
    return QRect(origin, crop.size());
}

// Prints that record the crop they came from: x, y, width, height in the frame.
std::optional<FeaturePrint> cropPrint(const QImage &crop, const QRectF &)
{
    const QRect r = cropInFrame(crop);
    return FeaturePrint{QStringLiteral("test"),
                        {float(r.x()), float(r.y()), float(r.width()), float(r.height())}};
}

QRect printedCrop(const FeaturePrint &print)
{
    return QRect(int(print.values[0]), int(print.values[1]), int(print.values[2]), int(print.values[3]));
}

TEST(FacePrintsTest, KeepsTheThreeLargestFacesLargestFirstAndTiesInDetectorOrder)
{
    FakeFaceVision vision;
    vision.setPrintRule(cropPrint);
    // A crowd of small faces (enough for an unstable sort to shuffle them), one
    // large face, and two of equal size between them.
    std::vector<QRectF> faces;
    for (int i = 0; i < 24; ++i)
        faces.emplace_back(0.02 + 0.04 * i, 0.9, 0.02, 0.02);
    const QRectF first(0.4, 0.5, 0.2, 0.2), twin(0.7, 0.1, 0.2, 0.2), large(0.1, 0.55, 0.3, 0.3);
    faces.insert(faces.begin() + 5, first);
    faces.insert(faces.begin() + 17, twin);
    faces.push_back(large);
    vision.setFaces(faces);

    const FaceSample sample = FaceCamera::facePrints(vision, codedFrame(), 3);

    EXPECT_TRUE(sample.faceDetected);
    ASSERT_EQ(sample.prints.size(), 3u);
    // Grown by 0.3 per side, then in pixels with y counted from the top.
    EXPECT_EQ(printedCrop(sample.prints[0]), QRect(6, 28, 308, 232));    // large
    EXPECT_EQ(printedCrop(sample.prints[1]), QRect(217, 115, 206, 154)); // first
    EXPECT_EQ(printedCrop(sample.prints[2]), QRect(409, 307, 206, 154)); // twin, near the bottom

    // Of a crowd of equals, the detector's first three.
    faces.resize(24);
    faces.erase(faces.begin() + 17);
    faces.erase(faces.begin() + 5);
    vision.setFaces(faces);
    const FaceSample crowd = FaceCamera::facePrints(vision, codedFrame(), 3);
    ASSERT_EQ(crowd.prints.size(), 3u);
    EXPECT_EQ(printedCrop(crowd.prints[0]).x(), 8);
    EXPECT_EQ(printedCrop(crowd.prints[1]).x(), 34);
    EXPECT_EQ(printedCrop(crowd.prints[2]).x(), 60);
}

TEST(FacePrintsTest, ClipsEdgeFacesAndSkipsFacesWhollyOutside)
{
    FakeFaceVision vision;
    vision.setPrintRule(cropPrint);
    vision.setFaces({QRectF(0.9, -0.05, 0.2, 0.2), QRectF(1.2, 0.5, 0.1, 0.1)});

    const FaceSample sample = FaceCamera::facePrints(vision, codedFrame(), 3);

    EXPECT_TRUE(sample.faceDetected);
    ASSERT_EQ(sample.prints.size(), 1u);
    EXPECT_EQ(printedCrop(sample.prints[0]), QRect(537, 379, 103, 101));
    // The detector's box, unclipped, relative to the crop.
    ASSERT_EQ(vision.requests().size(), 1u);
    EXPECT_EQ(vision.requests()[0].face, QRectF(39.0, 29.0, 128.0, 96.0));
}

TEST(FacePrintsTest, AFaceWithoutPrintStillCountsAsDetected)
{
    FakeFaceVision vision;
    const FaceSample none = FaceCamera::facePrints(vision, codedFrame(), 3);
    EXPECT_FALSE(none.faceDetected);
    EXPECT_TRUE(none.prints.empty());

    vision.setFaces({QRectF(0.4, 0.4, 0.2, 0.2)}); // and no print rule: every print fails
    const FaceSample unprinted = FaceCamera::facePrints(vision, codedFrame(), 3);
    EXPECT_TRUE(unprinted.faceDetected);
    EXPECT_TRUE(unprinted.prints.empty());
}

// A camera with fake devices, vision and clock; samples are collected as they come.
class FaceCameraTest : public ::testing::Test
{
protected:
    void make(std::vector<CameraDevice> list)
    {
        devices = std::make_shared<FakeCaptureDevices>(std::move(list));
        vision->setFaces({QRectF(0.4, 0.4, 0.2, 0.2)});
        vision->setPrintRule([](const QImage &, const QRectF &) {
            return FeaturePrint{QStringLiteral("t"), {1}};
        });
        cam = std::make_unique<FaceCamera>(devices, vision, clock, &defaults);
        cam->onSample = [this](const FaceSample &sample) {
            QMutexLocker lock(&mutex);
            samples.push_back(sample);
            sampledOnMain |= isMainThread();
        };
        cam->onDeviceChange = [this]() { ++deviceChanges; };
    }

    size_t sampleCount()
    {
        QMutexLocker lock(&mutex);
        return samples.size();
    }

    bool deliver(const QString &id) { return devices->deliver(id, VideoFrame{frame}); }

    UserDefaults defaults{test::testHome() + QStringLiteral("/defaults-") + QUuid::createUuid().toString() +
                          QStringLiteral(".json")};
    FakeClock clock;
    std::shared_ptr<FakeFaceVision> vision = std::make_shared<FakeFaceVision>();
    std::shared_ptr<FakeCaptureDevices> devices;
    std::unique_ptr<FaceCamera> cam;
    QImage frame{640, 480, QImage::Format_RGB32};
    QMutex mutex;
    std::vector<FaceSample> samples;
    bool sampledOnMain = false;
    std::atomic<int> deviceChanges{0};
};

TEST_F(FaceCameraTest, ConfiguresOnceAndAnalysesAtMostOneFramePerInterval)
{
    make({builtin});
    cam->start();
    cam->start();
    ASSERT_TRUE(test::waitUntil([&]() { return devices->isStreaming(builtin.uniqueID); }));
    EXPECT_EQ(devices->openCount(builtin.uniqueID), 1);
    EXPECT_EQ(logCount(QStringLiteral("shield: カメラ: Camera builtin")), 1);
    EXPECT_EQ(cam->activeDeviceID(), builtin.uniqueID);

    ASSERT_TRUE(deliver(builtin.uniqueID));
    ASSERT_EQ(sampleCount(), 1u);
    EXPECT_EQ(samples[0].prints.size(), 1u);
    EXPECT_TRUE(samples[0].faceDetected);
    EXPECT_FALSE(sampledOnMain);

    // 0.6 s sampling asks the camera for 5 fps: a frame half a step (0.1 s)
    // before the interval is the one to take. Earlier ones are not even read.
    EXPECT_EQ(devices->requestedFrameRates(builtin.uniqueID), std::vector<double>{5});
    clock.advanceSeconds(0.45);
    deliver(builtin.uniqueID);
    EXPECT_EQ(sampleCount(), 1u);
    EXPECT_EQ(devices->framesRead(builtin.uniqueID), 1);
    clock.advanceSeconds(0.05);
    devices->deliver(builtin.uniqueID,
                     VideoFrame{}); // no image: ignored, the clock of the last analysis stays
    deliver(builtin.uniqueID);
    EXPECT_EQ(sampleCount(), 2u);

    cam->setSampleInterval(2.0);
    cam->setSampleInterval(2.0);
    clock.advanceSeconds(1.0);
    deliver(builtin.uniqueID);
    EXPECT_EQ(sampleCount(), 2u);
    clock.advanceSeconds(1.0);
    deliver(builtin.uniqueID);
    EXPECT_EQ(sampleCount(), 3u);
    EXPECT_EQ(devices->framesRead(builtin.uniqueID), 4);
    EXPECT_EQ(devices->requestedFrameRates(builtin.uniqueID), (std::vector<double>{5, 2}))
        << "once per change of interval";

    cam->stop();
    ASSERT_TRUE(test::waitUntil([&]() { return !devices->isStreaming(builtin.uniqueID); }));
    cam->start();
    ASSERT_TRUE(test::waitUntil([&]() { return devices->isStreaming(builtin.uniqueID); }));
    EXPECT_EQ(devices->openCount(builtin.uniqueID), 1);
    EXPECT_EQ(logCount(QStringLiteral("shield: カメラ: Camera builtin")), 1);
}

TEST_F(FaceCameraTest, WithoutCameraEveryStartLogsAndTriesAgain)
{
    make({});
    const QString line = QStringLiteral("shield: カメラ入力を構成できません");
    const int before = logCount(line);
    cam->start();
    ASSERT_TRUE(test::waitUntil([&]() { return logCount(line) == before + 1; }));
    cam->start();
    ASSERT_TRUE(test::waitUntil([&]() { return logCount(line) == before + 2; }));

    // Capture is wanted, so a camera that arrives is taken without another start,
    // and the guard hears of it as of any automatic switch.
    devices->plug(external);
    ASSERT_TRUE(test::waitUntil([&]() { return devices->isStreaming(external.uniqueID); }));
    EXPECT_TRUE(test::waitUntil([&]() { return deviceChanges == 1; }));
    EXPECT_FALSE(cam->usesBuiltinCamera());

    // Stopped, a camera without a configuration waits for the next start.
    cam->stop();
    devices->unplug(external.uniqueID);
    make({});
    devices->plug(external);
    test::processEventsFor(std::chrono::milliseconds(100));
    EXPECT_FALSE(devices->isStreaming(external.uniqueID));
}

TEST_F(FaceCameraTest, AsksForTheSlowestRateTheSamplingNeedsThatTheDeviceOffers)
{
    const CameraDevice uvc = camera(QStringLiteral("uvc")), fast = camera(QStringLiteral("fast")),
                       stubborn = camera(QStringLiteral("stubborn"));
    make({uvc, fast, stubborn});
    devices->setBehaviour(uvc.uniqueID, {{{5, 5}, {10, 10}, {15, 15}, {30, 30}}, {}, true});
    devices->setBehaviour(fast.uniqueID, {{{7.5, 30}}, {}, true});
    devices->setBehaviour(stubborn.uniqueID, {{{1, 30}}, QStringLiteral("device busy"), true});

    cam->setSampleInterval(2.0);
    cam->start();
    ASSERT_TRUE(test::waitUntil([&]() { return devices->isStreaming(uvc.uniqueID); }));
    cam->setSampleInterval(0.6);
    deliver(uvc.uniqueID); // passes the camera queue after the change
    EXPECT_EQ(devices->requestedFrameRates(uvc.uniqueID), std::vector<double>{5})
        << "its slowest rate serves both intervals";

    cam->setDevice(fast.uniqueID);
    ASSERT_TRUE(test::waitUntil([&]() { return devices->isStreaming(fast.uniqueID); }));
    EXPECT_EQ(devices->requestedFrameRates(fast.uniqueID), std::vector<double>{7.5});

    cam->setDevice(stubborn.uniqueID);
    ASSERT_TRUE(test::waitUntil([&]() { return devices->isStreaming(stubborn.uniqueID); }));
    EXPECT_EQ(logCount(QStringLiteral("shield: fps 制限失敗: device busy")), 1);
    cam->setSampleInterval(0.6);             // unchanged: not asked again
    EXPECT_TRUE(deliver(stubborn.uniqueID)); // capture goes on at the device's rate
    EXPECT_EQ(logCount(QStringLiteral("shield: fps 制限失敗: device busy")), 1);
    cam->setSampleInterval(2.0);
    deliver(stubborn.uniqueID);
    cam->setSampleInterval(0.6); // 5 fps again: refused before, not asked again
    deliver(stubborn.uniqueID);
    EXPECT_EQ(devices->requestedFrameRates(stubborn.uniqueID), (std::vector<double>{5, 2}));
}

TEST_F(FaceCameraTest, PreviewRunsAtTheFastestRateTheCameraOffersAndEndsBackAtTheCap)
{
    // Devices of its own: other tests count the log lines of the shared ones.
    const CameraDevice slow = camera(QStringLiteral("preview-slow")),
                       fast = camera(QStringLiteral("preview-fast"));
    make({slow, fast});
    devices->setBehaviour(slow.uniqueID, {{{2, 15}, {2, 30}}, {}, true});
    devices->setBehaviour(fast.uniqueID, {{{7.5, 30}, {7.5, 60}}, {}, true});
    cam->start();
    ASSERT_TRUE(test::waitUntil([&]() { return devices->isStreaming(slow.uniqueID); }));
    cam->setPreviewing(true);
    cam->setPreviewing(true);
    deliver(slow.uniqueID); // passes the camera queue after both
    EXPECT_EQ(devices->requestedFrameRates(slow.uniqueID), (std::vector<double>{5, 30}));
    // Every frame is read for the live picture; the analysis keeps its interval.
    const size_t samplesBefore = sampleCount();
    const int readBefore = devices->framesRead(slow.uniqueID);
    deliver(slow.uniqueID);
    deliver(slow.uniqueID);
    EXPECT_EQ(devices->framesRead(slow.uniqueID), readBefore + 2);
    EXPECT_EQ(sampleCount(), samplesBefore);

    cam->setDevice(fast.uniqueID);
    ASSERT_TRUE(test::waitUntil([&]() { return devices->isStreaming(fast.uniqueID); }));
    EXPECT_EQ(devices->requestedFrameRates(fast.uniqueID), std::vector<double>{60}) << "the preview goes on";
    cam->setPreviewing(false);
    deliver(fast.uniqueID);
    EXPECT_EQ(devices->requestedFrameRates(fast.uniqueID), (std::vector<double>{60, 7.5}))
        << "as slow as it goes when the cap is out of its reach";

    cam->setDevice(slow.uniqueID);
    ASSERT_TRUE(test::waitUntil([&]() { return devices->isStreaming(slow.uniqueID); }));
    EXPECT_EQ(devices->requestedFrameRates(slow.uniqueID), std::vector<double>{5});
}

TEST_F(FaceCameraTest, SamplesOfTheFirstSecondAfterEachStartOrSwitchAreSettling)
{
    const CameraDevice first = camera(QStringLiteral("settle-1")),
                       second = camera(QStringLiteral("settle-2"));
    make({first, second});
    cam->setSampleInterval(0);
    const auto settling = [&](const QString &id) {
        const size_t before = sampleCount();
        EXPECT_TRUE(deliver(id));
        QMutexLocker lock(&mutex);
        return samples.size() == before + 1 && samples.back().settling;
    };
    cam->start();
    ASSERT_TRUE(test::waitUntil([&]() { return devices->isStreaming(first.uniqueID); }));
    clock.advanceSeconds(5); // a slow device: the exposure adjusts from its first frame on
    EXPECT_TRUE(settling(first.uniqueID));
    clock.advanceSeconds(0.99);
    EXPECT_TRUE(settling(first.uniqueID));
    clock.advanceSeconds(0.01);
    EXPECT_FALSE(settling(first.uniqueID));

    cam->stop();
    cam->start();
    ASSERT_TRUE(test::waitUntil([&]() { return devices->isStreaming(first.uniqueID); }));
    clock.advanceSeconds(2);
    EXPECT_TRUE(settling(first.uniqueID)) << "every start";
    cam->setDevice(second.uniqueID);
    ASSERT_TRUE(test::waitUntil([&]() { return devices->isStreaming(second.uniqueID); }));
    clock.advanceSeconds(2);
    EXPECT_TRUE(settling(second.uniqueID)) << "every switch";
    clock.advanceSeconds(1);
    EXPECT_FALSE(settling(second.uniqueID));
}

TEST_F(FaceCameraTest, PrefersTheStoredCameraThenTheBuiltinOneThenTheFirst)
{
    make({external, builtin});
    EXPECT_EQ(cam->preferredDevice(), builtin);
    EXPECT_TRUE(cam->usesBuiltinCamera()); // no input yet: the preferred camera answers

    defaults.setString(QLatin1String(FaceCamera::cameraIDKey), external.uniqueID);
    EXPECT_EQ(cam->preferredDevice(), external);
    defaults.setString(QLatin1String(FaceCamera::cameraIDKey), QStringLiteral("unplugged"));
    EXPECT_EQ(cam->preferredDevice(), builtin);

    const CameraDevice other = camera(QStringLiteral("other"));
    devices->unplug(builtin.uniqueID);
    devices->plug(other);
    EXPECT_EQ(cam->preferredDevice(), external);
    devices->unplug(external.uniqueID);
    devices->unplug(other.uniqueID);
    EXPECT_EQ(cam->preferredDevice(), std::nullopt);
}

TEST_F(FaceCameraTest, FollowsTheChosenCameraOutAndBackWithoutForgettingIt)
{
    make({builtin});
    cam->setDevice(external.uniqueID); // before the first start: only stored
    devices->plug(external);
    cam->start();
    ASSERT_TRUE(test::waitUntil([&]() { return devices->isStreaming(external.uniqueID); }));
    EXPECT_EQ(cam->activeDeviceID(), external.uniqueID);
    EXPECT_FALSE(cam->usesBuiltinCamera());

    devices->unplug(external.uniqueID);
    ASSERT_TRUE(test::waitUntil([&]() { return deviceChanges == 1; }));
    EXPECT_EQ(cam->activeDeviceID(), builtin.uniqueID);
    EXPECT_TRUE(cam->usesBuiltinCamera());
    EXPECT_TRUE(devices->isStreaming(builtin.uniqueID));
    EXPECT_EQ(logCount(QStringLiteral("shield: カメラ自動切替: Camera builtin")), 1);
    EXPECT_EQ(defaults.stringValue(QLatin1String(FaceCamera::cameraIDKey)), external.uniqueID);

    devices->plug(external);
    ASSERT_TRUE(test::waitUntil([&]() { return deviceChanges == 2; }));
    EXPECT_EQ(cam->activeDeviceID(), external.uniqueID);
    EXPECT_FALSE(devices->isStreaming(builtin.uniqueID));

    devices->plug(camera(QStringLiteral("unrelated")));
    deliver(external.uniqueID); // passes the camera queue after the reevaluation
    EXPECT_EQ(deviceChanges, 2);
    EXPECT_EQ(devices->openCount(external.uniqueID), 2);
}

TEST_F(FaceCameraTest, AnExplicitSwitchThatCannotOpenKeepsTheCurrentCamera)
{
    make({builtin, external});
    devices->setBehaviour(external.uniqueID, {{{2, 30}}, {}, false});
    cam->start();
    ASSERT_TRUE(test::waitUntil([&]() { return devices->isStreaming(builtin.uniqueID); }));

    cam->setDevice(external.uniqueID);
    EXPECT_EQ(defaults.stringValue(QLatin1String(FaceCamera::cameraIDKey)), external.uniqueID);
    EXPECT_TRUE(deliver(builtin.uniqueID));
    EXPECT_EQ(cam->activeDeviceID(), builtin.uniqueID);

    devices->setBehaviour(external.uniqueID, {});
    cam->setDevice(external.uniqueID);
    ASSERT_TRUE(test::waitUntil([&]() { return devices->isStreaming(external.uniqueID); }));
    EXPECT_EQ(logCount(QStringLiteral("shield: カメラ切替: Camera external")), 1);
    EXPECT_EQ(deviceChanges, 0); // only automatic switches are announced
}

} // namespace
