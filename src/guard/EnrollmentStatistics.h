#pragma once

#include "platform/vision/FeaturePrint.h"

#include <vector>

namespace veilora {

// The spread of a set of enrollment prints and the personal match threshold
// derived from it. Every constant is fitted by bench_recognition on two people's
// videos, in normal light and at a third of it (README, "Recognition").
struct EnrollmentStatistics
{
    // The distance that accepts 98 % of the frames after an enrollment is a
    // median 2.5 times its largest pair distance and 4.0 times its mean one. They
    // lift 305 of 992 enrollments above the floor; the worst enrollment stays the
    // same, the mean acceptance in the dark rises (98.72 % to 99.01 %).
    static constexpr float maxPairFactor = 2.5f;
    static constexpr float meanPairFactor = 4.0f;
    // The lowest floor at which no simulated enrollment of either person blurs
    // falsely and the worst keeps 98 % of the frames after it: 98.25 % at 0.35,
    // 96.98 % at 0.34, 91.06 % at 0.30, 1.48 % with 142 false blurs at 0.05.
    static constexpr float thresholdFloor = 0.35f;
    // The nearest stranger to any enrolled profile is 0.735 away, more than twice
    // the ceiling (at a third of the light 0.697, 1.94 times). Without it one
    // washed-out or turned-away enrollment print lifted thresholds to 1.15 and let
    // 256 of 15190 stranger comparisons pass.
    static constexpr float thresholdCeiling = 0.36f;

    float maxPair = 0; // largest pair distance, 0 without any
    float mean = 0;    // mean pair distance, 0 without any
    double threshold = thresholdFloor;

    // Pairs whose distance cannot be computed are left out.
    static EnrollmentStatistics of(const std::vector<FeaturePrint> &prints);
};

} // namespace veilora
