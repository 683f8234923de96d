#include "FilePrivacy.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

namespace veilora {

bool ensurePrivateDirectory(const QString &path)
{
    if (!QDir().mkpath(path))
        return false;
    return QFile::setPermissions(path,
                                 QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

bool writePrivateFile(const QString &path, const QByteArray &content)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    if (file.write(content) != content.size()) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

} // namespace veilora
