#include "ReportRoutes.h"

#include "RequestParsing.h"

#include <QDateTime>

namespace veilora::server {

ReportRoutes::ReportRoutes(Store &store)
    : m_store(store)
{}

Reply ReportRoutes::receive(Store::Report kind, const Request &request)
{
    if (!isJsonObject(request.body))
        return Reply::error(400, "bad_request");
    if (!m_store.insertReport(kind, QDateTime::currentMSecsSinceEpoch(), request.address,
                              QString::fromUtf8(request.body)))
        return Reply::error(500, "server_error");
    return Reply::json(200, QJsonObject{});
}

} // namespace veilora::server
