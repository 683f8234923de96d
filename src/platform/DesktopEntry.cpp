#include "DesktopEntry.h"

#include <QCoreApplication>

namespace veilora::DesktopEntry {

std::optional<QString> execProgram(const QString &program)
{
    static const QString reserved = QStringLiteral(" \t\"'\\><~|&;$*?#()`");
    bool needsQuotes = false;
    QString quoted;
    for (const QChar c : program) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            return std::nullopt;
        needsQuotes = needsQuotes || reserved.contains(c);
        // Inside quotes '"', '`', '$' and '\' take a backslash; the value's own
        // string escaping then doubles every backslash once more.
        if (c == u'"' || c == u'`' || c == u'$')
            quoted += QStringLiteral("\\\\");
        else if (c == u'\\')
            quoted += QStringLiteral("\\\\\\");
        else if (c == u'%')
            quoted += u'%'; // "%%" is a literal percent sign, not a field code
        quoted += c;
    }
    if (!needsQuotes)
        return quoted;
    return u'"' + quoted + u'"';
}

QString launchProgram()
{
    const QString appImage = qEnvironmentVariable("APPIMAGE");
    return appImage.isEmpty() ? QCoreApplication::applicationFilePath() : appImage;
}

} // namespace veilora::DesktopEntry
