#pragma once

#include "SettingsTab.h"

#include <QColor>
#include <QString>

#include <array>

namespace veilora::SettingsTabs {

// Every tab, in sidebar order.
const std::array<SettingsTab, 4> &allCases();

// "general", "permissions", "account", "about".
QString rawValue(SettingsTab tab);

// `tab.<raw value>` and `sub.<raw value>` in the interface language.
QString title(SettingsTab tab);
QString subtitle(SettingsTab tab);

// The symbol name of the tab's icon chip ("gearshape.fill", …).
QString symbol(SettingsTab tab);

// The chip's gradient, top to bottom.
std::array<QColor, 2> iconColors(SettingsTab tab);

// The sidebar draws a divider above a tab that starts a new group.
bool startsNewGroup(SettingsTab tab);

} // namespace veilora::SettingsTabs
