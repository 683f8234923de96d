#pragma once

#include "platform/vision/FeaturePrint.h"

#include <vector>

namespace veilora {

// The spread of a set of enrollment prints and the personal match threshold
// derived from it: at least 60 % above the largest difference seen between the
// user's own prints, more than twice their average difference, never below 0.05.
struct EnrollmentStatistics
{
    static constexpr float maxPairFactor = 1.6f;
    static constexpr float meanPairFactor = 2.2f;
    static constexpr float thresholdFloor = 0.05f;

    float maxPair = 0; // largest pair distance, 0 without any
    float mean = 0;    // mean pair distance, 0 without any
    double threshold = thresholdFloor;

    // Pairs whose distance cannot be computed are left out.
    static EnrollmentStatistics of(const std::vector<FeaturePrint> &prints);
};

} // namespace veilora
