#include "EnrollmentStatistics.h"

#include <algorithm>

namespace veilora {

EnrollmentStatistics EnrollmentStatistics::of(const std::vector<FeaturePrint> &prints)
{
    EnrollmentStatistics stats;
    float sum = 0;
    int count = 0;
    for (size_t i = 0; i + 1 < prints.size(); ++i) {
        for (size_t j = i + 1; j < prints.size(); ++j) {
            const auto d = FeaturePrint::distance(prints[i], prints[j]);
            if (!d)
                continue;
            stats.maxPair = std::max(stats.maxPair, *d);
            sum += *d;
            ++count;
        }
    }
    stats.mean = count > 0 ? sum / static_cast<float>(count) : 0.0f;
    stats.threshold =
        std::min(std::max({stats.maxPair * maxPairFactor, stats.mean * meanPairFactor, thresholdFloor}),
                 thresholdCeiling);
    return stats;
}

} // namespace veilora
