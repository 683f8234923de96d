#pragma once

#include "FaceVision.h"

#include <QMutex>
#include <QString>

#include <opencv2/dnn.hpp>

namespace veilora {

// What the pipeline does beyond running the networks, as the product runs it;
// bench_recognition switches each step off to show what it is worth.
struct OnnxFaceVisionOptions
{
    bool completeCutFaces = true;
    // Aligned faces with a mean luminance (0–255) below this are normalised; 0
    // never, 256 always. Faces in our videos measure 83 and more as filmed (1st
    // percentile), 49 at most at a third of the light. Normalising lit faces as
    // well gained nothing (nearest stranger 0.735 gated, 0.730 always).
    double lowLightLuminance = 80;
};

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
// Two steps of our own, both measured by bench_recognition (README,
// "Recognition"): a box the frame edge cut is completed to the detector's usual
// proportions, so it may reach beyond the frame; and an aligned face in poor
// light is blurred a little and brought to mid-grey.
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

    // Width over height, in pixels, of the detector's box around a whole face:
    // the median over the benchmark's video frames (p10–p90 0.59–0.69). With it,
    // a face with a fifth below the bottom edge prints a median 0.066 from the
    // whole face, against 0.377 with the box as detected.
    static constexpr double faceAspect = 0.65;
    // A box within this share of the frame's smaller side of an edge counts as
    // cut by it: the detector's boxes of cut faces stopped at most 0.047 short.
    static constexpr double edgeMargin = 0.05;
    // How a face in poor light is normalised: warped from a source blurred by
    // `lowLightBlur` pixels of the aligned face, then scaled to a mean luminance
    // of `lowLightTarget`. At a third of the light with sensor noise this brings
    // the print of a frame to a median 0.029 of the lit one (0.109 without) and
    // the nearest stranger from 0.661 to 0.697; of the blurs tried (half or one
    // aligned pixel, before or after the warp) it came closest.
    static constexpr double lowLightBlur = 0.5;
    static constexpr double lowLightTarget = 128;

    using Options = OnnxFaceVisionOptions;

    explicit OnnxFaceVision(QString modelsDirectory = defaultModelsDirectory(), Options options = {});

    // The models the set-up fetched into the source tree, else the installed ones.
    static QString defaultModelsDirectory();

    // Loads the networks unless done; false when they cannot be (logged once).
    bool load();

    std::vector<QRectF> detectFaces(const QImage &frame) override;
    std::optional<FeaturePrint> featurePrint(const QImage &crop, const QRectF &face) override;

private:
    struct Scratch;
    bool ensureLoaded(); // with m_mutex held
    void reportFailure(const QString &what);
    static void normaliseLowLight(const cv::Mat &bgra, const cv::Mat &alignment, double below, Scratch &s);

    const QString m_directory;
    const Options m_options;
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
        cv::Mat aligned, alignedBgr, alignedGrey, blurred, featureBlob;
    } m_scratch;
};

} // namespace veilora
