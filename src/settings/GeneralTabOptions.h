#pragma once

#include <QString>

#include <utility>
#include <vector>

namespace veilora {

// Dropdown entries: the value stored and the title shown, in menu order.
using Choices = std::vector<std::pair<QString, QString>>;

// The six grace delays, 5 s to 1 min, titled in the interface language; the
// value is the number of seconds as decimal text.
Choices graceOptions();

// graceOptions(), plus `seconds` in its place by size when it is none of the
// six (a value that came from another computer), so the dropdown can show it.
Choices graceOptionsShowing(int seconds);

// "20 sec", "1 min", … in the interface language.
QString graceTitle(int seconds);

// A grace value's seconds; 10 for text that is not a decimal integer.
int graceSecondsFromValue(const QString &value);

// "System" (the empty code) and the fourteen languages in their own names.
Choices languagePicker();

} // namespace veilora
