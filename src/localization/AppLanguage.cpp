#include "AppLanguage.h"

#include "SystemLanguages.h"

namespace veilora::AppLanguages {

namespace {

struct Info
{
    AppLanguage language;
    const char *code;
    const char *name;
};

// Picker order; names are each language's own.
constexpr Info infos[] = {
    {AppLanguage::en, "en", "English"},
    {AppLanguage::ja, "ja", "日本語"},
    {AppLanguage::ko, "ko", "한국어"},
    {AppLanguage::zhHans, "zh-Hans", "简体中文"},
    {AppLanguage::zhHant, "zh-Hant", "繁體中文"},
    {AppLanguage::de, "de", "Deutsch"},
    {AppLanguage::fr, "fr", "Français"},
    {AppLanguage::es, "es", "Español"},
    {AppLanguage::ptBR, "pt-BR", "Português (Brasil)"},
    {AppLanguage::ru, "ru", "Русский"},
    {AppLanguage::it, "it", "Italiano"},
    {AppLanguage::nl, "nl", "Nederlands"},
    {AppLanguage::pl, "pl", "Polski"},
    {AppLanguage::tr, "tr", "Türkçe"},
};

constexpr bool inEnumOrder()
{
    for (int i = 0; i < int(std::size(infos)); ++i) {
        if (static_cast<int>(infos[i].language) != i)
            return false;
    }
    return true;
}
static_assert(std::size(infos) == 14 && inEnumOrder(), "infos is indexed by AppLanguage");

const Info &info(AppLanguage language)
{
    return infos[static_cast<int>(language)];
}

// Prefix → language, tested in this order after Chinese has been handled.
constexpr std::pair<const char *, AppLanguage> prefixes[] = {
    {"ja", AppLanguage::ja}, {"ko", AppLanguage::ko},   {"de", AppLanguage::de}, {"fr", AppLanguage::fr},
    {"es", AppLanguage::es}, {"pt", AppLanguage::ptBR}, {"ru", AppLanguage::ru}, {"it", AppLanguage::it},
    {"nl", AppLanguage::nl}, {"pl", AppLanguage::pl},   {"tr", AppLanguage::tr}, {"en", AppLanguage::en},
};

std::optional<AppLanguage> match(const QString &entry)
{
    const QString lower = entry.toLower();
    if (lower.startsWith(QLatin1String("zh"))) {
        // Traditional script or a region that writes it; a region wins over "Hans" (zh-Hans-MO).
        for (const char *mark : {"hant", "tw", "hk", "mo"}) {
            if (lower.contains(QLatin1String(mark)))
                return AppLanguage::zhHant;
        }
        return AppLanguage::zhHans;
    }
    for (const auto &[prefix, language] : prefixes) {
        if (lower.startsWith(QLatin1String(prefix)))
            return language;
    }
    return std::nullopt;
}

} // namespace

const std::array<AppLanguage, 14> &allCases()
{
    static const std::array<AppLanguage, 14> all = [] {
        std::array<AppLanguage, 14> cases{};
        for (std::size_t i = 0; i < cases.size(); ++i)
            cases[i] = infos[i].language;
        return cases;
    }();
    return all;
}

QString code(AppLanguage language)
{
    return QString::fromLatin1(info(language).code);
}

QString displayName(AppLanguage language)
{
    return QString::fromUtf8(info(language).name);
}

std::optional<AppLanguage> fromCode(const QString &code)
{
    for (const Info &candidate : infos) {
        if (code == QLatin1String(candidate.code))
            return candidate.language;
    }
    return std::nullopt;
}

AppLanguage fromPreferredLanguages(const QStringList &preferred)
{
    for (const QString &entry : preferred) {
        if (const auto language = match(entry))
            return *language;
    }
    return AppLanguage::en;
}

AppLanguage systemDefault()
{
    return fromPreferredLanguages(SystemLanguages::preferredLanguages());
}

} // namespace veilora::AppLanguages
