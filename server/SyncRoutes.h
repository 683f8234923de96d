#pragma once

#include "Reply.h"

namespace veilora::server {

class AuthRoutes;
class Store;

// One settings blob per account, written with optimistic versioning: an
// upload names the version it was based on and loses if another device got
// there first.
class SyncRoutes
{
public:
    SyncRoutes(Store &store, AuthRoutes &auth);

    Reply download(const Request &request);
    Reply upload(const Request &request);

private:
    Store &m_store;
    AuthRoutes &m_auth;
};

} // namespace veilora::server
