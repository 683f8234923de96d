#include "SignInLimiter.h"

#include "Store.h"

namespace veilora::server {

SignInLimiter::SignInLimiter(Store &store)
    : SignInLimiter(store, Limits{})
{}

SignInLimiter::SignInLimiter(Store &store, Limits limits)
    : m_store(store)
    , m_limits(limits)
{}

bool SignInLimiter::allows(const QString &email, const QString &address, qint64 now)
{
    const qint64 since = now - m_limits.windowMs;
    m_store.deleteFailuresBefore(since);
    const auto byEmail = m_store.countFailures(Store::FailureScope::Email, email, since);
    const auto byAddress = m_store.countFailures(Store::FailureScope::Address, address, since);
    // Fail closed: without the counts, a guesser would be unlimited.
    return byEmail && byAddress && *byEmail < m_limits.perEmail && *byAddress < m_limits.perAddress;
}

void SignInLimiter::recordFailure(const QString &email, const QString &address, qint64 now)
{
    m_store.recordFailure(Store::FailureScope::Email, email, now);
    m_store.recordFailure(Store::FailureScope::Address, address, now);
}

} // namespace veilora::server
