#include "UpdatePackageVerifier.h"

#include <QByteArray>
#include <QFile>

#include <optional>
#include <sodium.h>

namespace veilora::UpdatePackageVerifier {

namespace {

std::optional<QByteArray> decode(const QString &base64, qsizetype expectedSize)
{
    const auto decoded =
        QByteArray::fromBase64Encoding(base64.trimmed().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || decoded.decoded.size() != expectedSize)
        return std::nullopt;
    return decoded.decoded;
}

} // namespace

Result verify(const QString &path, qint64 expectedLength, const QString &signatureBase64,
              const QString &publicKeyBase64)
{
    if (sodium_init() < 0)
        return Result::noKey;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Result::unreadable;
    if (expectedLength > 0 && file.size() != expectedLength)
        return Result::sizeMismatch;
    if (signatureBase64.trimmed().isEmpty())
        return Result::noSignature;
    const auto key = decode(publicKeyBase64, crypto_sign_PUBLICKEYBYTES);
    if (!key)
        return Result::noKey;
    const auto signature = decode(signatureBase64, crypto_sign_BYTES);
    if (!signature)
        return Result::badSignature;
    // Plain Ed25519 signs the message itself, not a digest, so the whole package
    // must be at hand; mapping it spares a copy of a file of many megabytes.
    const qint64 size = file.size();
    QByteArray copy;
    const unsigned char *bytes = size > 0 ? file.map(0, size) : nullptr;
    if (!bytes && size > 0) {
        copy = file.readAll();
        if (copy.size() != size)
            return Result::unreadable;
        bytes = reinterpret_cast<const unsigned char *>(copy.constData());
    }
    static const unsigned char empty = 0;
    const int verdict = crypto_sign_verify_detached(
        reinterpret_cast<const unsigned char *>(signature->constData()), bytes ? bytes : &empty,
        static_cast<unsigned long long>(size), reinterpret_cast<const unsigned char *>(key->constData()));
    return verdict == 0 ? Result::accepted : Result::badSignature;
}

} // namespace veilora::UpdatePackageVerifier
