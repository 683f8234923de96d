#include "OnnxFaceVision.h"

#include "platform/EventLog.h"
#include "platform/capture/FrameConversion.h"

#include <QDir>
#include <QFileInfo>

#include <array>
#include <cmath>
#include <opencv2/calib3d.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

namespace veilora {

namespace {

const cv::Size detectorInput(320, 240);
const cv::Size landmarkInput(64, 64);
const cv::Size alignedFace(112, 112);
constexpr int landmarkCount = 68;
constexpr int printLength = 512;

// Where eyes, nose tip and mouth corners sit in a 112 × 112 face the feature
// network expects.
const std::array<cv::Point2f, 5> alignmentTemplate{{
    {38.29f, 51.70f},
    {73.53f, 51.50f},
    {56.03f, 71.74f},
    {41.55f, 92.37f},
    {70.73f, 92.20f},
}};

// A face cut by the frame edge gets a box only as high or wide as what remains
// of it, and the landmarks, placed on a square as high as the box, then land on
// a wrongly scaled face. The side the edge took is restored from the other at the
// detector's usual proportions, reaching beyond the frame. `box` is normalized,
// y downwards; the margin catches boxes the detector drew just short of the edge.
cv::Rect2d completedBox(const cv::Rect2d &box, cv::Size frame)
{
    cv::Rect2d px(box.x * frame.width, box.y * frame.height, box.width * frame.width,
                  box.height * frame.height);
    const double margin = OnnxFaceVision::edgeMargin * std::min(frame.width, frame.height);
    const bool left = px.x <= margin, right = px.x + px.width >= frame.width - margin;
    const bool top = px.y <= margin, bottom = px.y + px.height >= frame.height - margin;
    // A face touching both opposite edges fills the frame: nothing to restore from.
    if (left != right) {
        const double width = std::max(px.width, px.height * OnnxFaceVision::faceAspect);
        if (left)
            px.x -= width - px.width;
        px.width = width;
    }
    if (top != bottom) {
        const double height = std::max(px.height, px.width / OnnxFaceVision::faceAspect);
        if (top)
            px.y -= height - px.height;
        px.height = height;
    }
    return {px.x / frame.width, px.y / frame.height, px.width / frame.width, px.height / frame.height};
}

const char *const modelFiles[] = {"fr_detect.onnx", "fr_landmark.onnx", "fr_feature.onnx"};

bool holdsModels(const QString &directory)
{
    for (const char *file : modelFiles) {
        if (!QFileInfo::exists(directory + QLatin1Char('/') + QLatin1String(file)))
            return false;
    }
    return true;
}

} // namespace

OnnxFaceVision::OnnxFaceVision(QString modelsDirectory, Options options)
    : m_directory(std::move(modelsDirectory))
    , m_options(options)
{}

QString OnnxFaceVision::defaultModelsDirectory()
{
    const QString source = QStringLiteral(VEILORA_ASSETS_DIR "/models");
    const QString installed = QStringLiteral(VEILORA_INSTALLED_DATA_DIR "/models");
    return holdsModels(source) || !holdsModels(installed) ? source : installed;
}

bool OnnxFaceVision::load()
{
    QMutexLocker lock(&m_mutex);
    return ensureLoaded();
}

bool OnnxFaceVision::ensureLoaded()
{
    if (m_state != State::unloaded)
        return m_state == State::loaded;
    m_state = State::failed;
    const QDir directory(m_directory);
    try {
        m_detector = cv::dnn::readNetFromONNX(directory.filePath(QLatin1String(modelFiles[0])).toStdString());
        m_landmarks =
            cv::dnn::readNetFromONNX(directory.filePath(QLatin1String(modelFiles[1])).toStdString());
        m_feature = cv::dnn::readNetFromONNX(directory.filePath(QLatin1String(modelFiles[2])).toStdString());
    } catch (const cv::Exception &error) {
        reportFailure(QStringLiteral("cannot load the face models from %1: %2")
                          .arg(m_directory, QString::fromStdString(error.err)));
        return false;
    }
    if (m_detector.empty() || m_landmarks.empty() || m_feature.empty()) {
        reportFailure(QStringLiteral("cannot load the face models from %1").arg(m_directory));
        return false;
    }
    // Measured on two cores: one thread per network keeps a frame's CPU time
    // lowest, and the camera queue runs one network at a time anyway.
    cv::setNumThreads(inferenceThreads);
    m_state = State::loaded;
    return true;
}

void OnnxFaceVision::reportFailure(const QString &what)
{
    // A broken model would otherwise write a line for every frame.
    if (m_failureReported)
        return;
    m_failureReported = true;
    EventLog::write(QStringLiteral("vision: ") + what);
}

std::vector<QRectF> OnnxFaceVision::detectFaces(const QImage &frame)
{
    QImage converted;
    const cv::Mat bgra = bgraView(frame, &converted);
    if (bgra.empty())
        return {};
    QMutexLocker lock(&m_mutex);
    if (!ensureLoaded())
        return {};
    try {
        Scratch &s = m_scratch;
        cv::resize(bgra, s.small, detectorInput, 0, 0, cv::INTER_LINEAR);
        cv::cvtColor(s.small, s.smallBgr, cv::COLOR_BGRA2BGR);
        cv::dnn::blobFromImage(s.smallBgr, s.detectorBlob, 1 / 128.0, cv::Size(), cv::Scalar::all(127), true,
                               false);
        m_detector.setInput(s.detectorBlob);
        std::vector<cv::Mat> outputs;
        m_detector.forward(outputs, std::vector<cv::String>{"boxes", "scores"});
        const size_t candidates = outputs.size() == 2 ? outputs[1].total() / 2 : 0;
        if (candidates == 0 || outputs[0].total() != candidates * 4 || outputs[0].type() != CV_32F ||
            outputs[1].type() != CV_32F) {
            reportFailure(QStringLiteral("the face detector answers in an unknown shape"));
            return {};
        }
        const float *corners = outputs[0].ptr<float>();
        const float *scores = outputs[1].ptr<float>();
        std::vector<cv::Rect2d> boxes;
        std::vector<float> kept;
        for (size_t i = 0; i < candidates; ++i) {
            const float score = scores[2 * i + 1];
            const float *c = corners + 4 * i;
            if (score >= scoreThreshold && c[2] > c[0] && c[3] > c[1]) {
                boxes.emplace_back(c[0], c[1], c[2] - c[0], c[3] - c[1]);
                kept.push_back(score);
            }
        }
        std::vector<int> chosen;
        cv::dnn::NMSBoxes(boxes, kept, scoreThreshold, overlapThreshold, chosen);
        std::vector<QRectF> faces;
        faces.reserve(chosen.size());
        for (const int i : chosen) {
            const cv::Rect2d b =
                m_options.completeCutFaces ? completedBox(boxes[size_t(i)], bgra.size()) : boxes[size_t(i)];
            // The detector counts y downwards; the boxes we hand out count upwards.
            faces.emplace_back(b.x, 1.0 - b.y - b.height, b.width, b.height);
        }
        return faces;
    } catch (const cv::Exception &error) {
        reportFailure(QStringLiteral("face detection failed: ") + QString::fromStdString(error.err));
        return {};
    }
}

// In poor light the camera's gain makes the face grainy as well as dark, and the
// grain, more than the darkness, moves the print: the warp onto 112 × 112 picks
// single pixels of a face often three times larger and keeps all of it. A dark
// face is warped again from a source blurred by half an aligned pixel, averaging
// the grain away as a proper downscale would, then lifted to mid-grey. Faces lit
// well enough are left as they are.
void OnnxFaceVision::normaliseLowLight(const cv::Mat &bgra, const cv::Mat &alignment, double below,
                                       Scratch &s)
{
    cv::cvtColor(s.alignedBgr, s.alignedGrey, cv::COLOR_BGR2GRAY);
    const double luminance = cv::mean(s.alignedGrey)[0];
    if (luminance >= below)
        return;
    const double scale = std::hypot(alignment.at<double>(0, 0), alignment.at<double>(1, 0));
    cv::GaussianBlur(bgra, s.blurred, cv::Size(), lowLightBlur / std::max(scale, 1e-6));
    cv::warpAffine(s.blurred, s.aligned, alignment, alignedFace, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    cv::cvtColor(s.aligned, s.alignedBgr, cv::COLOR_BGRA2BGR);
    s.alignedBgr.convertTo(s.alignedBgr, -1, lowLightTarget / std::max(luminance, 1.0));
}

std::optional<FeaturePrint> OnnxFaceVision::featurePrint(const QImage &crop, const QRectF &face)
{
    QImage converted;
    const cv::Mat bgra = bgraView(crop, &converted);
    if (bgra.empty() || !(face.width() > 0) || !(face.height() > 0))
        return std::nullopt;
    QMutexLocker lock(&m_mutex);
    if (!ensureLoaded())
        return std::nullopt;
    try {
        // Landmarks on a square as high as the face box, centred on it.
        const double side = face.height();
        const cv::Point2d corner(face.center().x() - side / 2, face.center().y() - side / 2);
        const double toSquare = landmarkInput.height / side;
        const cv::Matx23d squareMap(toSquare, 0, -corner.x * toSquare, 0, toSquare, -corner.y * toSquare);
        Scratch &s = m_scratch;
        cv::cvtColor(bgra, s.grey, cv::COLOR_BGRA2GRAY);
        // Beyond the crop, and beyond the frame for a completed box, the square is
        // black: replicated or mirrored edges moved cut faces' prints further.
        cv::warpAffine(s.grey, s.square, squareMap, landmarkInput, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
        cv::dnn::blobFromImage(s.square, s.landmarkBlob, 1 / 256.0);
        m_landmarks.setInput(s.landmarkBlob);
        const cv::Mat landmarks = m_landmarks.forward();
        if (landmarks.total() != landmarkCount * 2 || landmarks.type() != CV_32F) {
            reportFailure(QStringLiteral("the landmark network answers in an unknown shape"));
            return std::nullopt;
        }
        const float *v = landmarks.ptr<float>();
        const auto point = [&](int i) {
            return cv::Point2f(float(corner.x + v[2 * i] * side), float(corner.y + v[2 * i + 1] * side));
        };
        const auto mean = [&](std::initializer_list<int> indices) {
            cv::Point2f sum(0, 0);
            for (const int i : indices)
                sum += point(i);
            return sum / float(indices.size());
        };
        const std::array<cv::Point2f, 5> anchors{mean({37, 38, 40, 41}), mean({43, 44, 46, 47}), point(30),
                                                 mean({48, 60}), mean({54, 64})};

        // A similarity transform fitted to all five points: with the threshold
        // far above any landmark error no point is discarded as an outlier.
        const cv::Mat alignment =
            cv::estimateAffinePartial2D(anchors, alignmentTemplate, cv::noArray(), cv::RANSAC, 1e4);
        if (alignment.empty())
            return std::nullopt;
        cv::warpAffine(bgra, s.aligned, alignment, alignedFace, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
        cv::cvtColor(s.aligned, s.alignedBgr, cv::COLOR_BGRA2BGR);
        if (m_options.lowLightLuminance > 0)
            normaliseLowLight(bgra, alignment, m_options.lowLightLuminance, s);
        cv::dnn::blobFromImage(s.alignedBgr, s.featureBlob, 1 / 128.0, cv::Size(), cv::Scalar::all(127), true,
                               false);
        m_feature.setInput(s.featureBlob);
        const cv::Mat output = m_feature.forward();
        if (output.total() != printLength || output.type() != CV_32F) {
            reportFailure(QStringLiteral("the feature network answers in an unknown shape"));
            return std::nullopt;
        }
        const float *values = output.ptr<float>();
        double norm = 0;
        for (int i = 0; i < printLength; ++i)
            norm += double(values[i]) * values[i];
        norm = std::sqrt(norm);
        if (!(norm > 0) || !std::isfinite(norm))
            return std::nullopt;
        FeaturePrint print;
        print.model = QString::fromLatin1(printModel);
        print.values.resize(printLength);
        for (int i = 0; i < printLength; ++i)
            print.values[size_t(i)] = float(values[i] / norm);
        return print;
    } catch (const cv::Exception &error) {
        reportFailure(QStringLiteral("feature print failed: ") + QString::fromStdString(error.err));
        return std::nullopt;
    }
}

std::shared_ptr<FaceVision> FaceVision::standard()
{
    static const auto vision = std::make_shared<OnnxFaceVision>();
    return vision;
}

} // namespace veilora
