#include "FeedRoutes.h"

#include "RequestParsing.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace veilora::server {

namespace {

// Feed files are an appcast and a few packages; anything far bigger is a mistake.
constexpr qint64 maxFeedFileBytes = 512LL * 1024 * 1024;

} // namespace

FeedRoutes::FeedRoutes(QString folder)
    : m_folder(folder.isEmpty() ? QString() : QDir(folder).canonicalPath())
{}

Reply FeedRoutes::file(const Request &request) const
{
    const auto name = feedFileName(request.encodedPath);
    if (m_folder.isEmpty() || !name)
        return Reply::error(404, "not_found");
    const QFileInfo info(m_folder + u'/' + *name);
    // Only plain files that really lie in the folder, not links out of it.
    if (!info.isFile() || info.isSymLink() || info.canonicalPath() != m_folder ||
        info.size() > maxFeedFileBytes)
        return Reply::error(404, "not_found");
    QFile file(info.filePath());
    if (!file.open(QIODevice::ReadOnly))
        return Reply::error(404, "not_found");
    return Reply{200, feedContentType(*name), file.readAll(), {{"Cache-Control", "no-cache"}}};
}

} // namespace veilora::server
