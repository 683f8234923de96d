#pragma once

#include <QString>

namespace veilora {

// The system's log, for the few failures an administrator should see (the
// application's own event log is EventLog).
namespace SystemLog {

// One warning line: to the journal, and to standard error unless standard error
// already goes to the journal.
void warning(const QString &line);

} // namespace SystemLog

} // namespace veilora
