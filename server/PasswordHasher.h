#pragma once

#include <QByteArray>
#include <QString>

namespace veilora::server {

// Argon2id through libsodium at its interactive cost.
class PasswordHasher
{
public:
    // sodium_init(); false when the library cannot be used.
    static bool initialize();

    // The encoded hash, or empty when hashing failed (out of memory).
    QString hash(const QByteArray &password) const;
    bool verify(const QString &encodedHash, const QByteArray &password) const;
    // Costs as much as verify() does, for sign-ins with an unknown e-mail, so
    // the answer time does not tell which addresses have accounts.
    void spendVerifyTime(const QByteArray &password) const;

private:
    mutable QString m_decoy;
};

} // namespace veilora::server
