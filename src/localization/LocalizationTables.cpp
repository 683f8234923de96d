#include "LocalizationTables.h"

#include <array>

namespace veilora::LocalizationTables {

Entries entries(AppLanguage language)
{
    switch (language) {
    case AppLanguage::en:
        return en();
    case AppLanguage::ja:
        return ja();
    case AppLanguage::ko:
        return ko();
    case AppLanguage::zhHans:
        return zhHans();
    case AppLanguage::zhHant:
        return zhHant();
    case AppLanguage::de:
        return de();
    case AppLanguage::fr:
        return fr();
    case AppLanguage::es:
        return es();
    case AppLanguage::ptBR:
        return ptBR();
    case AppLanguage::ru:
        return ru();
    case AppLanguage::it:
        return it();
    case AppLanguage::nl:
        return nl();
    case AppLanguage::pl:
        return pl();
    case AppLanguage::tr:
        return tr();
    }
    return en();
}

const Dictionary &table(AppLanguage language)
{
    static const auto tables = [] {
        std::array<Dictionary, 14> all;
        for (const AppLanguage each : AppLanguages::allCases()) {
            Dictionary &dictionary = all[static_cast<std::size_t>(each)];
            const Entries list = entries(each);
            dictionary.reserve(qsizetype(list.size()));
            for (const TableEntry &entry : list)
                dictionary.insert(QString::fromLatin1(entry.key), QString::fromUtf8(entry.text));
        }
        return all;
    }();
    return tables[static_cast<std::size_t>(language)];
}

} // namespace veilora::LocalizationTables
