#include "FeaturePrint.h"

#include <cmath>

namespace veilora {

std::optional<float> FeaturePrint::distance(const FeaturePrint &a, const FeaturePrint &b)
{
    if (a.model != b.model || a.values.size() != b.values.size() || a.values.empty())
        return std::nullopt;
    // Accumulate in double: 512 products of floats lose digits that matter near
    // the match threshold.
    double dot = 0, normA = 0, normB = 0;
    for (size_t i = 0; i < a.values.size(); ++i) {
        const double x = a.values[i], y = b.values[i];
        dot += x * y;
        normA += x * x;
        normB += y * y;
    }
    if (!(normA > 0) || !(normB > 0) || !std::isfinite(dot) || !std::isfinite(normA) || !std::isfinite(normB))
        return std::nullopt;
    const double cosine = dot / (std::sqrt(normA) * std::sqrt(normB));
    return static_cast<float>(std::max(0.0, 1.0 - cosine));
}

} // namespace veilora
