#pragma once

#include "platform/vision/FeaturePrint.h"

#include <vector>

namespace veilora {

// The spread of a set of enrollment prints and the personal match threshold
// derived from it: well above the largest and the average difference between the
// user's own prints, never below a floor and never above a ceiling.
struct EnrollmentStatistics
{
    static constexpr float maxPairFactor = 2.5f;
    static constexpr float meanPairFactor = 4.0f;
    static constexpr float thresholdFloor = 0.34f;
    static constexpr float thresholdCeiling = 0.35f;

    float maxPair = 0; // largest pair distance, 0 without any
    float mean = 0;    // mean pair distance, 0 without any
    double threshold = thresholdFloor;

    // Pairs whose distance cannot be computed are left out.
    static EnrollmentStatistics of(const std::vector<FeaturePrint> &prints);
};

} // namespace veilora
