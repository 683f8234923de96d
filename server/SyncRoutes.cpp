#include "SyncRoutes.h"

#include "AuthRoutes.h"
#include "RequestParsing.h"
#include "Store.h"

#include <QDateTime>

namespace veilora::server {

SyncRoutes::SyncRoutes(Store &store, AuthRoutes &auth)
    : m_store(store)
    , m_auth(auth)
{}

Reply SyncRoutes::download(const Request &request)
{
    const auto account = m_auth.authenticate(request);
    if (!account)
        return Reply::error(401, "unauthorized");
    bool ok = false;
    const auto blob = m_store.blobOf(*account, &ok);
    if (!ok)
        return Reply::error(500, "server_error");
    if (!blob)
        return Reply::json(200, QJsonObject{{QStringLiteral("version"), 0}});
    return Reply::json(
        200, QJsonObject{{QStringLiteral("version"), blob->version}, {QStringLiteral("blob"), blob->blob}});
}

Reply SyncRoutes::upload(const Request &request)
{
    const auto account = m_auth.authenticate(request);
    if (!account)
        return Reply::error(401, "unauthorized");
    const auto parsed = parseSyncUpload(request.body);
    if (parsed.problem == BodyProblem::TooLarge)
        return Reply::error(413, "too_large");
    if (parsed.problem != BodyProblem::None)
        return Reply::error(400, "bad_request");
    qint64 version = 0;
    switch (m_store.writeBlob(*account, parsed.upload.baseVersion, parsed.upload.blob, parsed.upload.deviceId,
                              QDateTime::currentMSecsSinceEpoch(), &version)) {
    case Store::BlobWrite::Stored:
        return Reply::json(200, QJsonObject{{QStringLiteral("version"), version}});
    case Store::BlobWrite::Conflict:
        return Reply::json(
            409, QJsonObject{{QStringLiteral("error"), "conflict"}, {QStringLiteral("version"), version}});
    case Store::BlobWrite::Failed:
        break;
    }
    return Reply::error(500, "server_error");
}

} // namespace veilora::server
