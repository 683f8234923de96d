#pragma once

#include <QDateTime>
#include <QString>

namespace veilora {

// This process's entries in the system journal: written alongside the debug
// log, so that a tester's upload carries what the journal saw of the process
// (its own lines and what libraries and the system logged for it).
namespace ProcessJournal {

// One entry with the field VEILORA_CATEGORY = `category`. Fails silently
// where no journal runs.
void write(const QString &category, const QString &message);

// The entries of this process from `since` on, oldest first, at most
// `maxLines`, one per line: "<ISO 8601 time> [<category>] <message>", joined by
// line feeds. When the journal cannot be read, the single line
// "(oslog export failed: <reason>)".
QString exportSince(const QDateTime &since, int maxLines);

} // namespace ProcessJournal

} // namespace veilora
