#include "Appcast.h"

#include <QXmlStreamReader>

namespace veilora {

namespace {

using namespace Qt::Literals::StringLiterals;

// Namespaced names are matched on their local part inside any namespace, so a
// feed that binds the update prefix to another URI is still understood.
bool isUpdateName(const QXmlStreamReader &xml, QLatin1StringView local)
{
    return !xml.namespaceUri().isEmpty() && xml.name() == local;
}

QString updateAttribute(const QXmlStreamAttributes &attributes, QLatin1StringView local)
{
    for (const QXmlStreamAttribute &attribute : attributes) {
        if (!attribute.namespaceUri().isEmpty() && attribute.name() == local)
            return attribute.value().toString().trimmed();
    }
    return {};
}

QUrl feedUrl(const QString &text)
{
    const QUrl url(text.trimmed(), QUrl::StrictMode);
    return url.isValid() && !url.isRelative() ? url : QUrl();
}

// Leaves the reader on the element's end tag.
QString elementText(QXmlStreamReader &xml)
{
    return xml.readElementText(QXmlStreamReader::SkipChildElements).trimmed();
}

void readEnclosure(QXmlStreamReader &xml, AppcastItem &item)
{
    const QXmlStreamAttributes attributes = xml.attributes();
    const QString os = updateAttribute(attributes, "os"_L1);
    // The first enclosure this system can use wins; others are for other systems.
    if (item.url.isValid() || (!os.isEmpty() && os.compare("linux"_L1, Qt::CaseInsensitive) != 0)) {
        xml.skipCurrentElement();
        return;
    }
    item.url = feedUrl(attributes.value("url"_L1).toString());
    bool ok = false;
    const qint64 length = attributes.value("length"_L1).toLongLong(&ok);
    item.length = ok && length > 0 ? length : 0;
    item.type = attributes.value("type"_L1).toString().trimmed();
    item.edSignature = updateAttribute(attributes, "edSignature"_L1);
    item.os = os;
    // Older feeds put the versions on the enclosure; an element in the item wins.
    if (item.version.isEmpty())
        item.version = updateAttribute(attributes, "version"_L1);
    if (item.shortVersionString.isEmpty())
        item.shortVersionString = updateAttribute(attributes, "shortVersionString"_L1);
    xml.skipCurrentElement();
}

AppcastItem readItem(QXmlStreamReader &xml)
{
    AppcastItem item;
    while (xml.readNextStartElement()) {
        if (xml.namespaceUri().isEmpty() && xml.name() == "title"_L1)
            item.title = elementText(xml);
        else if (xml.namespaceUri().isEmpty() && xml.name() == "description"_L1)
            item.description = elementText(xml);
        else if (xml.namespaceUri().isEmpty() && xml.name() == "enclosure"_L1)
            readEnclosure(xml, item);
        else if (isUpdateName(xml, "version"_L1))
            item.version = elementText(xml);
        else if (isUpdateName(xml, "shortVersionString"_L1))
            item.shortVersionString = elementText(xml);
        else if (isUpdateName(xml, "releaseNotesLink"_L1))
            item.releaseNotesLink = feedUrl(elementText(xml));
        else if (isUpdateName(xml, "channel"_L1))
            item.channel = elementText(xml);
        else
            xml.skipCurrentElement();
    }
    return item;
}

bool fail(QString *error, const QString &message)
{
    if (error)
        *error = message;
    return false;
}

bool readChannel(QXmlStreamReader &xml, Appcast &appcast)
{
    while (xml.readNextStartElement()) {
        if (xml.namespaceUri().isEmpty() && xml.name() == "item"_L1)
            appcast.items.append(readItem(xml));
        else if (xml.namespaceUri().isEmpty() && xml.name() == "title"_L1)
            appcast.title = elementText(xml);
        else
            xml.skipCurrentElement();
    }
    return !xml.hasError();
}

// A version as alternating runs: digits, letters, and separators (anything else).
enum class PartKind
{
    number,
    text,
    separator
};

PartKind kindOf(QChar c)
{
    if (c.isDigit())
        return PartKind::number;
    if (c.isLetter())
        return PartKind::text;
    return PartKind::separator;
}

QList<QStringView> splitVersion(QStringView version)
{
    QList<QStringView> parts;
    qsizetype start = 0;
    for (qsizetype i = 1; i <= version.size(); ++i) {
        if (i == version.size() || kindOf(version[i]) != kindOf(version[start]) ||
            kindOf(version[i]) == PartKind::separator) {
            parts.append(version.mid(start, i - start));
            start = i;
        }
    }
    return parts;
}

// Digit runs of any length, without converting (a build number may exceed 64 bits).
int compareNumbers(QStringView a, QStringView b)
{
    while (a.size() > 1 && a.front() == u'0')
        a = a.mid(1);
    while (b.size() > 1 && b.front() == u'0')
        b = b.mid(1);
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    return a.compare(b);
}

int sign(int value)
{
    return (value > 0) - (value < 0);
}

} // namespace

std::optional<Appcast> parseAppcast(const QByteArray &data, QString *error)
{
    QXmlStreamReader xml(data);
    Appcast appcast;
    if (!xml.readNextStartElement()) {
        fail(error, xml.hasError() ? xml.errorString() : u"empty document"_s);
        return std::nullopt;
    }
    if (xml.name() != "rss"_L1) {
        fail(error, u"the document is not an RSS feed"_s);
        return std::nullopt;
    }
    bool sawChannel = false;
    while (xml.readNextStartElement()) {
        if (xml.name() == "channel"_L1 && !sawChannel) {
            sawChannel = true;
            if (!readChannel(xml, appcast))
                break;
        } else {
            xml.skipCurrentElement();
        }
    }
    // Read to the end, so that damage after the channel is noticed too.
    while (!xml.atEnd() && !xml.hasError())
        xml.readNext();
    if (xml.hasError()) {
        fail(error, u"line %1: %2"_s.arg(xml.lineNumber()).arg(xml.errorString()));
        return std::nullopt;
    }
    if (!sawChannel) {
        fail(error, u"the feed has no channel"_s);
        return std::nullopt;
    }
    return appcast;
}

int compareVersions(const QString &a, const QString &b)
{
    const QList<QStringView> left = splitVersion(a);
    const QList<QStringView> right = splitVersion(b);
    const qsizetype common = std::min(left.size(), right.size());
    for (qsizetype i = 0; i < common; ++i) {
        const PartKind leftKind = kindOf(left[i].front());
        const PartKind rightKind = kindOf(right[i].front());
        if (leftKind == rightKind) {
            int order = 0;
            if (leftKind == PartKind::number)
                order = compareNumbers(left[i], right[i]);
            else if (leftKind == PartKind::text)
                order = left[i].compare(right[i]);
            if (order != 0)
                return sign(order);
            continue;
        }
        // Text marks a pre-release, below whatever continues the release:
        // 1.01 > 1.0.1 > 1.0b1.
        const auto rank = [](PartKind kind) {
            return kind == PartKind::number ? 2 : kind == PartKind::separator ? 1 : 0;
        };
        return rank(leftKind) > rank(rightKind) ? 1 : -1;
    }
    if (left.size() == right.size())
        return 0;
    // The longer one is newer unless what it adds begins with text (a pre-release):
    // 1.0.1 > 1.0, but 1.0b1 < 1.0.
    const bool leftLonger = left.size() > right.size();
    const QStringView next = leftLonger ? left[common] : right[common];
    const bool addsRelease = kindOf(next.front()) != PartKind::text;
    return leftLonger == addsRelease ? 1 : -1;
}

std::optional<AppcastItem> newestApplicable(const QList<AppcastItem> &items, const QString &runningBuild)
{
    std::optional<AppcastItem> best;
    for (const AppcastItem &item : items) {
        if (item.version.isEmpty() || !item.url.isValid() || !item.channel.isEmpty())
            continue;
        if (compareVersions(item.version, runningBuild) <= 0)
            continue;
        if (!best || compareVersions(item.version, best->version) > 0)
            best = item;
    }
    return best;
}

} // namespace veilora
