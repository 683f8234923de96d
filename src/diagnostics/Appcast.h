#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

namespace veilora {

// One release in an update feed: an RSS <item> whose update-namespace elements
// and enclosure attributes say what it is and where its package lies.
struct AppcastItem
{
    QString title;
    QString version;            // the build number, compared with compareVersions()
    QString shortVersionString; // what people are shown; the version when absent
    QUrl releaseNotesLink;
    QString description; // inline release notes (HTML), used when there is no link
    QString channel;     // an item on a named channel is not for the default one
    QUrl url;
    qint64 length = 0; // 0: not stated
    QString type;
    QString edSignature; // base64
    QString os;          // empty: any

    QString displayVersion() const { return shortVersionString.isEmpty() ? version : shortVersionString; }
};

struct Appcast
{
    QString title;
    QList<AppcastItem> items; // in feed order
};

// Reads the RSS 2.0 form of an update feed. Unknown elements and attributes are
// skipped, so a feed written for a newer reader still parses; the update
// namespace is recognised by its elements' names whatever its URI. Malformed XML
// or a document that is not an RSS channel gives nothing and says why.
std::optional<Appcast> parseAppcast(const QByteArray &xml, QString *error = nullptr);

// Orders build numbers part by part: "1.10" > "1.9", "1.0.1" > "1.0",
// "1.0" > "1.0b2" (a trailing text part marks a pre-release), "2.0b10" > "2.0b9".
// Negative, zero or positive like strcmp.
int compareVersions(const QString &a, const QString &b);

// The item with the highest version above `runningBuild` among those this
// computer can install: with a package address and a version, on the default
// channel, for Linux or any system.
std::optional<AppcastItem> newestApplicable(const QList<AppcastItem> &items, const QString &runningBuild);

} // namespace veilora
