#include "FaceProfileStore.h"

#include "platform/DistributedNotificationCenter.h"
#include "platform/EventLog.h"
#include "platform/FilePrivacy.h"

#include <QFile>
#include <QStandardPaths>

namespace veilora {

namespace {

QString dataFolder(const char *name)
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QLatin1Char('/') +
           QLatin1String(name);
}

} // namespace

QString FaceProfileStore::url()
{
    const QString folder = dataFolder("Norvane");
    ensurePrivateDirectory(folder);
    return folder + QStringLiteral("/face-profile.dat");
}

QString FaceProfileStore::legacyURL()
{
    return dataFolder("Veilora") + QStringLiteral("/face-profile.dat");
}

void FaceProfileStore::migrateIfNeeded()
{
    const QString current = url();
    if (QFile::exists(current) || !QFile::exists(legacyURL()))
        return;
    QFile legacy(legacyURL());
    if (!legacy.open(QIODevice::ReadOnly) || legacy.size() > maximumFileBytes)
        return;
    // Copied through a private write rather than QFile::copy, which would keep
    // the earlier file's (possibly wider) permissions.
    writePrivateFile(current, legacy.readAll());
}

std::optional<FaceProfile> FaceProfileStore::load()
{
    migrateIfNeeded();
    QFile file(url());
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    if (file.size() > maximumFileBytes) {
        EventLog::write(QStringLiteral("face profile: file too large, ignored"));
        return std::nullopt;
    }
    auto profile = decodeFaceProfile(file.readAll());
    if (!profile)
        EventLog::write(QStringLiteral("face profile: unreadable file, treated as not enrolled"));
    return profile;
}

void FaceProfileStore::save(const std::vector<FeaturePrint> &prints, double threshold)
{
    if (!writePrivateFile(url(), encodeFaceProfile(prints, threshold)))
        EventLog::write(QStringLiteral("face profile: could not be written"));
    DistributedNotificationCenter::defaultCenter().post(QLatin1String(changeNote));
}

void FaceProfileStore::deleteProfile()
{
    QFile::remove(url());
    DistributedNotificationCenter::defaultCenter().post(QLatin1String(changeNote));
}

} // namespace veilora
