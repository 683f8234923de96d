#pragma once

#include <QString>
#include <QVariantMap>

#include <optional>

namespace veilora {

// The application's information dictionary: what the build says about itself.
// `main()` holds the values compiled in from the build configuration; a key that
// was not configured is absent, never an empty string.
class BundleInfo
{
public:
    static constexpr const char *shortVersionKey = "CFBundleShortVersionString";
    static constexpr const char *buildVersionKey = "CFBundleVersion";
    static constexpr const char *identifierKey = "CFBundleIdentifier";
    static constexpr const char *feedURLKey = "SUFeedURL";
    static constexpr const char *serverURLKey = "VLServerBaseURL";
    static constexpr const char *updatePublicKeyKey = "SUPublicEDKey";

    explicit BundleInfo(QVariantMap info);

    static const BundleInfo &main();

    std::optional<QString> value(const QString &key) const;
    std::optional<QString> shortVersion() const { return value(QString::fromLatin1(shortVersionKey)); }
    std::optional<QString> buildVersion() const { return value(QString::fromLatin1(buildVersionKey)); }
    std::optional<QString> identifier() const { return value(QString::fromLatin1(identifierKey)); }
    std::optional<QString> feedURL() const { return value(QString::fromLatin1(feedURLKey)); }
    std::optional<QString> serverURL() const { return value(QString::fromLatin1(serverURLKey)); }
    std::optional<QString> updatePublicKey() const { return value(QString::fromLatin1(updatePublicKeyKey)); }

    const QVariantMap &dictionary() const { return m_info; }

private:
    QVariantMap m_info;
};

// Filled in by the generated BuildInfo.cpp.
QVariantMap compiledBundleInfo();

} // namespace veilora
