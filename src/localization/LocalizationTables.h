#pragma once

#include "AppLanguage.h"

#include <QHash>
#include <QString>

#include <span>

namespace veilora {

// One text of a table, as written in the source (UTF-8).
struct TableEntry
{
    const char *key;
    const char *text;
};

// The compiled-in interface texts, one table per language, each written as one
// list of (key, text) pairs in tables/<language>.cpp.
//
// Every table holds the English table's keys in the same order, with the same
// printf placeholders (%d, %@) in the same order; counts appear only as a bare
// number in a short form ("%d sec"), never in a sentence that would need plural
// rules. "Veilora" is never translated. Nothing changes the tables at run time.
namespace LocalizationTables {

using Entries = std::span<const TableEntry>;
using Dictionary = QHash<QString, QString>;

Entries en();
Entries ja();
Entries ko();
Entries zhHans();
Entries zhHant();
Entries de();
Entries fr();
Entries es();
Entries ptBR();
Entries ru();
Entries it();
Entries nl();
Entries pl();
Entries tr();

// A language's list as written.
Entries entries(AppLanguage language);

// A language's dictionary; all fourteen are built together on first use.
const Dictionary &table(AppLanguage language);

} // namespace LocalizationTables

} // namespace veilora
