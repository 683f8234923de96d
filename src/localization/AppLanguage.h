#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <array>
#include <optional>

namespace veilora {

// The fourteen interface languages, in the order the language picker
// lists them. The code is the language's identifier; the name is the language's
// own name, shown untranslated in the picker.
enum class AppLanguage
{
    en,
    ja,
    ko,
    zhHans,
    zhHant,
    de,
    fr,
    es,
    ptBR,
    ru,
    it,
    nl,
    pl,
    tr,
};

namespace AppLanguages {

// Every case, in picker order.
const std::array<AppLanguage, 14> &allCases();

// "en", "ja", … "zh-Hans", "zh-Hant", … "pt-BR", …
QString code(AppLanguage language);

// "English", "日本語", … (fixed texts, not table entries).
QString displayName(AppLanguage language);

// The language whose code is exactly `code` (case-sensitive, as a raw value);
// none for any other text.
std::optional<AppLanguage> fromCode(const QString &code);

// The language derived from `preferred` (most preferred first) by prefix;
// each entry is lower-cased and matched against "ja", "ko",
// "zh" (Traditional when it contains "hant", "tw", "hk" or "mo"), "de", "fr",
// "es", "pt", "ru", "it", "nl", "pl", "tr", "en"; entries matching none are
// skipped; `en` when nothing matches.
AppLanguage fromPreferredLanguages(const QStringList &preferred);

// `fromPreferredLanguages(SystemLanguages::preferredLanguages())`, evaluated on
// each call.
AppLanguage systemDefault();

} // namespace AppLanguages

} // namespace veilora
