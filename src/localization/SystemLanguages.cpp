#include "SystemLanguages.h"

#include "LanguageOverride.h"

#include <QLocale>

namespace veilora::SystemLanguages {

std::optional<QString> normalizedTag(const QString &posixName)
{
    QString name = posixName.trimmed();
    for (const QLatin1Char cut : {QLatin1Char('@'), QLatin1Char('.')}) {
        if (const qsizetype at = name.indexOf(cut); at >= 0)
            name.truncate(at);
    }
    if (name.isEmpty() || name == QLatin1String("C") || name == QLatin1String("POSIX"))
        return std::nullopt;
    name.replace(QLatin1Char('_'), QLatin1Char('-'));
    return name;
}

QStringList fromSources(const Sources &sources)
{
    QStringList names = sources.language.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    for (const QString *messages : {&sources.lcAll, &sources.lcMessages, &sources.lang}) {
        if (!messages->isEmpty()) {
            names << *messages;
            break;
        }
    }
    names << sources.qtUiLanguages;

    QStringList tags;
    for (const QString &name : std::as_const(names)) {
        const auto tag = normalizedTag(name);
        if (tag && !tags.contains(*tag, Qt::CaseInsensitive))
            tags << *tag;
    }
    return tags;
}

QStringList systemPreferredLanguages()
{
    return fromSources({qEnvironmentVariable("LANGUAGE"), qEnvironmentVariable("LC_ALL"),
                        qEnvironmentVariable("LC_MESSAGES"), qEnvironmentVariable("LANG"),
                        QLocale::system().uiLanguages()});
}

QStringList preferredLanguages()
{
    const QStringList override = LanguageOverride::current();
    return override.isEmpty() ? systemPreferredLanguages() : override;
}

} // namespace veilora::SystemLanguages
