#pragma once

#include "platform/vision/FeaturePrint.h"

#include <QByteArray>

#include <optional>
#include <vector>

namespace veilora {

// The enrolled face: its prints in capture order (at least one) and the match
// threshold on the prints' distance scale.
struct FaceProfile
{
    std::vector<FeaturePrint> prints;
    double threshold = 0;
};

// The face profile file format, version 1: the four bytes "VLFP", one version
// byte (1), then one CBOR map (RFC 8949) with exactly these meanings:
//   "prints"    → array of maps { "model": text, "values": bytes }, the values
//                 being 32-bit IEEE floats, little-endian, at least one each
//   "threshold" → number (64-bit float)
// Reading is strict: a wrong magic or version, trailing bytes, a missing key, a
// value of another type or an empty "prints" array reads as no profile.
QByteArray encodeFaceProfile(const std::vector<FeaturePrint> &prints, double threshold);
std::optional<FaceProfile> decodeFaceProfile(const QByteArray &data);

} // namespace veilora
