#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace veilora::SystemLanguages {

// The user's preferred interface languages on Linux, most preferred first, as
// BCP 47-like tags ("pt-BR", "zh-Hant-TW", "en").
//
// Order of the sources:
//  1. LANGUAGE — gettext's colon-separated priority list ("pt_BR:pt:en"), every
//     entry in turn. It is honoured even when the locale is C, because on a
//     desktop it is only ever set on purpose.
//  2. The messages locale: the first non-empty of LC_ALL, LC_MESSAGES, LANG,
//     which is POSIX precedence (a set LC_ALL shadows the other two, and so on).
//  3. Qt's view of the system, QLocale::system().uiLanguages().
// Every entry is normalised from its POSIX form: the codeset and modifier are
// dropped and '_' becomes '-' ("pt_BR.UTF-8" → "pt-BR", "sr_RS@latin" →
// "sr-RS"); "C" and "POSIX" (with or without a codeset) and empty entries are
// skipped; repeats (ignoring case) keep their first place.
QStringList systemPreferredLanguages();

// What the application sees as the system's list: the per-application
// override "AppleLanguages" in the user defaults when it holds any entry (it
// replaces the list, as the language chosen in the settings must win),
// otherwise `systemPreferredLanguages()`.
QStringList preferredLanguages();

// The pieces `systemPreferredLanguages()` reads, for tests.
struct Sources
{
    QString language;   // LANGUAGE
    QString lcAll;      // LC_ALL
    QString lcMessages; // LC_MESSAGES
    QString lang;       // LANG
    QStringList qtUiLanguages;
};
QStringList fromSources(const Sources &sources);

// "pt_BR.UTF-8" → "pt-BR"; none for "C", "POSIX" and empty names.
std::optional<QString> normalizedTag(const QString &posixName);

} // namespace veilora::SystemLanguages
