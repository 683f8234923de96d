#pragma once

#include <QStringList>
#include <QTextStream>

namespace veilora {

class UserDefaults;

// `veilora --defaults ...`: reads and writes the user's preferences from a shell,
// for testers and support (some keys, such as "shieldDebug", have no switch in
// the interface).
//
//   read [KEY]                      prints one value, or every key
//   write KEY [-bool|-int|-float|-string|-date|-array] VALUE...
//   delete KEY
//
// Without a type flag the value's type is inferred: true/false, an integer, a
// decimal number, otherwise a string. Returns the process exit code.
int runDefaultsCommand(const QStringList &args, UserDefaults &defaults, QTextStream &out, QTextStream &err);

} // namespace veilora
