#include "SettingsTabInfo.h"

#include "localization/L10n.h"

namespace veilora::SettingsTabs {

const std::array<SettingsTab, 4> &allCases()
{
    static constexpr std::array<SettingsTab, 4> tabs = {SettingsTab::general, SettingsTab::permissions,
                                                        SettingsTab::account, SettingsTab::about};
    return tabs;
}

QString rawValue(SettingsTab tab)
{
    switch (tab) {
    case SettingsTab::general:
        return QStringLiteral("general");
    case SettingsTab::permissions:
        return QStringLiteral("permissions");
    case SettingsTab::account:
        return QStringLiteral("account");
    case SettingsTab::about:
        return QStringLiteral("about");
    }
    return {};
}

QString title(SettingsTab tab)
{
    return L10n::shared().string(QStringLiteral("tab.") + rawValue(tab));
}

QString subtitle(SettingsTab tab)
{
    return L10n::shared().string(QStringLiteral("sub.") + rawValue(tab));
}

QString symbol(SettingsTab tab)
{
    switch (tab) {
    case SettingsTab::general:
        return QStringLiteral("gearshape.fill");
    case SettingsTab::permissions:
        return QStringLiteral("lock.shield.fill");
    case SettingsTab::account:
        return QStringLiteral("person.crop.circle.fill");
    case SettingsTab::about:
        return QStringLiteral("info.circle.fill");
    }
    return {};
}

std::array<QColor, 2> iconColors(SettingsTab tab)
{
    switch (tab) {
    case SettingsTab::general:
        return {QColor(142, 142, 147), QColor(110, 110, 115)};
    case SettingsTab::permissions:
        return {QColor(255, 179, 64), QColor(255, 149, 0)};
    case SettingsTab::account:
        return {QColor(102, 212, 207), QColor(0, 163, 163)};
    case SettingsTab::about:
        return {QColor(142, 142, 240), QColor(94, 92, 230)};
    }
    return {};
}

bool startsNewGroup(SettingsTab tab)
{
    return tab == SettingsTab::permissions || tab == SettingsTab::account;
}

} // namespace veilora::SettingsTabs
