#pragma once

#include "FaceVision.h"

#include <QMutex>
#include <QString>

#include <opencv2/dnn.hpp>

namespace veilora {

// Faces found and printed by three small ONNX networks run with OpenCV's dnn
// module on the CPU:
// - "fr_detect.onnx" finds faces in the frame scaled to 320 × 240 (RGB,
//   (x − 127) / 128); candidates scoring at least 0.7 are kept after non-maximum
//   suppression at an overlap (IoU) of 0.3.
// - "fr_landmark.onnx" places 68 points on the face, seen as a 64 × 64 grey
//   square (value / 256) as high as the face box, around its centre.
// - "fr_feature.onnx" turns the face, aligned by five of those points (eye
//   centres, nose tip, mouth corners) onto a 112 × 112 template, into 512 values,
//   scaled to unit length. Without the alignment the same person's prints drift
//   apart with every turn of the head and strangers' prints come as close.
//
// The networks are loaded once, on first use (or by `load()`), and kept. Calls
// are serialised: each network runs with `inferenceThreads` threads.
class OnnxFaceVision : public FaceVision
{
public:
    static constexpr const char *printModel = "fr_feature.onnx/aligned-112";
    static constexpr float scoreThreshold = 0.7f;
    static constexpr float overlapThreshold = 0.3f;
    static constexpr int inferenceThreads = 1;

    explicit OnnxFaceVision(QString modelsDirectory = defaultModelsDirectory());

    // The models the set-up fetched into the source tree, else the installed ones.
    static QString defaultModelsDirectory();

    // Loads the networks unless done; false when they cannot be (logged once).
    bool load();

    std::vector<QRectF> detectFaces(const QImage &frame) override;
    std::optional<FeaturePrint> featurePrint(const QImage &crop, const QRectF &face) override;

private:
    bool ensureLoaded(); // with m_mutex held
    void reportFailure(const QString &what);

    const QString m_directory;
    QMutex m_mutex;
    enum class State
    {
        unloaded,
        loaded,
        failed
    } m_state = State::unloaded;
    bool m_failureReported = false;
    cv::dnn::Net m_detector;
    cv::dnn::Net m_landmarks;
    cv::dnn::Net m_feature;

    // Working images kept from call to call: allocating them afresh for every
    // frame costs more in page faults than some of the steps that fill them.
    struct Scratch
    {
        cv::Mat small, smallBgr, detectorBlob;
        cv::Mat grey, square, landmarkBlob;
        cv::Mat aligned, alignedBgr, featureBlob;
    } m_scratch;
};

} // namespace veilora
