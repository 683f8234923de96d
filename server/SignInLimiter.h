#pragma once

#include <QString>

namespace veilora::server {

class Store;

// Slows down password guessing: per account, so one address cannot try many
// passwords on it, and per client address, so one client cannot spread its
// guesses over many accounts. The records live in the database so every
// server process sees the same counts.
class SignInLimiter
{
public:
    struct Limits
    {
        int perEmail = 5;
        int perAddress = 20;
        qint64 windowMs = 15 * 60 * 1000;
    };
    explicit SignInLimiter(Store &store);
    SignInLimiter(Store &store, Limits limits);

    // False when either count is used up, or the database cannot tell.
    bool allows(const QString &email, const QString &address, qint64 now);
    void recordFailure(const QString &email, const QString &address, qint64 now);

private:
    Store &m_store;
    Limits m_limits;
};

} // namespace veilora::server
