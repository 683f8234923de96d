#pragma once

#include "Reply.h"
#include "Store.h"

namespace veilora::server {

// Crash reports and tester logs, kept as sent for whoever runs the server.
class ReportRoutes
{
public:
    explicit ReportRoutes(Store &store);

    Reply receive(Store::Report kind, const Request &request);

private:
    Store &m_store;
};

} // namespace veilora::server
