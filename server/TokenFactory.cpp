#include "TokenFactory.h"

#include <QByteArray>
#include <QCryptographicHash>

#include <sodium.h>

namespace veilora::server::TokenFactory {

QString newSecret()
{
    QByteArray bytes(32, Qt::Uninitialized);
    randombytes_buf(bytes.data(), static_cast<size_t>(bytes.size()));
    const QString secret =
        QString::fromLatin1(bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
    sodium_memzero(bytes.data(), static_cast<size_t>(bytes.size()));
    return secret;
}

QString hashOf(const QString &secret)
{
    return QString::fromLatin1(QCryptographicHash::hash(secret.toUtf8(), QCryptographicHash::Sha256).toHex());
}

} // namespace veilora::server::TokenFactory
