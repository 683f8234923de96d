#pragma once

#include <QString>

#include <optional>
#include <vector>

namespace veilora {

// The feature vector of one face crop. Two prints are only ever compared by their
// distance; the model tag keeps prints of different models from being compared.
struct FeaturePrint
{
    QString model;
    std::vector<float> values;

    // Cosine distance 1 − cos(a, b), clamped at 0: 0 for the same direction, up
    // to 2 for opposite ones. No value for prints of different models or lengths,
    // empty prints, prints of zero norm or with non-finite components.
    static std::optional<float> distance(const FeaturePrint &a, const FeaturePrint &b);

    friend bool operator==(const FeaturePrint &, const FeaturePrint &) = default;
};

// One analysed camera frame: the prints of up to three faces, largest first, and
// whether any face was detected at all (a face may yield no print). `settling`
// marks a frame taken while the camera's exposure may still be adjusting after
// it started: good enough to see someone, not to learn a face from.
struct FaceSample
{
    std::vector<FeaturePrint> prints;
    bool faceDetected = false;
    bool settling = false;
};

} // namespace veilora
