#pragma once

#include "Reply.h"

namespace veilora::server {

// Serves the update feed and its packages from one flat folder.
class FeedRoutes
{
public:
    // An empty folder serves nothing.
    explicit FeedRoutes(QString folder);

    Reply file(const Request &request) const;

private:
    QString m_folder;
};

} // namespace veilora::server
