#pragma once

#include <QString>

namespace veilora {

// Whether a downloaded update package is the one the feed announced: its size
// (when the feed states one) and an Ed25519 signature over the whole file,
// checked against the public key the build carries ("SUPublicEDKey").
namespace UpdatePackageVerifier {

enum class Result
{
    accepted,
    unreadable,   // the file cannot be read
    sizeMismatch, // not the length the feed states
    noSignature,  // the feed gives no signature: refused, never trusted unsigned
    noKey,        // the build has no usable public key: nothing can be accepted
    badSignature, // malformed, or made with another key or over other bytes
};

// `expectedLength` 0: the feed states none. Keys and signatures are base64.
Result verify(const QString &path, qint64 expectedLength, const QString &signatureBase64,
              const QString &publicKeyBase64);

} // namespace UpdatePackageVerifier

} // namespace veilora
