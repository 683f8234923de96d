#pragma once

#include "PasswordHasher.h"
#include "Reply.h"
#include "SignInLimiter.h"

#include <optional>

namespace veilora::server {

class Store;

// Browser sign-in with PKCE, the code-for-token exchange, and the bearer
// token's own endpoints.
class AuthRoutes
{
public:
    AuthRoutes(Store &store, int codeLifetimeSeconds);

    Reply connectPage(const Request &request);
    Reply connect(const Request &request);
    Reply exchangeToken(const Request &request);
    Reply me(const Request &request);
    Reply logout(const Request &request);

    // The account a request's bearer token belongs to.
    std::optional<qint64> authenticate(const Request &request);

private:
    Store &m_store;
    PasswordHasher m_hasher;
    SignInLimiter m_limiter;
    qint64 m_codeLifetimeMs;
};

} // namespace veilora::server
