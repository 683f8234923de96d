#include "PasswordHasher.h"

#include "TokenFactory.h"

#include <sodium.h>

namespace veilora::server {

bool PasswordHasher::initialize()
{
    return sodium_init() >= 0;
}

QString PasswordHasher::hash(const QByteArray &password) const
{
    char encoded[crypto_pwhash_STRBYTES];
    if (crypto_pwhash_str(encoded, password.constData(), static_cast<unsigned long long>(password.size()),
                          crypto_pwhash_OPSLIMIT_INTERACTIVE, crypto_pwhash_MEMLIMIT_INTERACTIVE) != 0)
        return {};
    return QString::fromLatin1(encoded);
}

bool PasswordHasher::verify(const QString &encodedHash, const QByteArray &password) const
{
    const QByteArray encoded = encodedHash.toLatin1();
    return crypto_pwhash_str_verify(encoded.constData(), password.constData(),
                                    static_cast<unsigned long long>(password.size())) == 0;
}

void PasswordHasher::spendVerifyTime(const QByteArray &password) const
{
    if (m_decoy.isEmpty())
        m_decoy = hash(TokenFactory::newSecret().toLatin1());
    (void)verify(m_decoy, password);
}

} // namespace veilora::server
