#include "GeneralTabOptions.h"

#include "localization/AppLanguage.h"
#include "localization/L10n.h"

#include <algorithm>
#include <array>

namespace veilora {

namespace {

constexpr std::array<int, 6> graceChoices = {5, 10, 20, 30, 45, 60};
constexpr int fallbackGrace = 10;

} // namespace

QString graceTitle(int seconds)
{
    const L10n &l10n = L10n::shared();
    if (seconds > 0 && seconds % 60 == 0)
        return formatText(l10n.string(QStringLiteral("pg.graceFmtMin")), {seconds / 60});
    return formatText(l10n.string(QStringLiteral("pg.graceFmtSec")), {seconds});
}

Choices graceOptions()
{
    Choices options;
    for (const int seconds : graceChoices)
        options.emplace_back(QString::number(seconds), graceTitle(seconds));
    return options;
}

Choices graceOptionsShowing(int seconds)
{
    Choices options = graceOptions();
    if (std::find(graceChoices.begin(), graceChoices.end(), seconds) != graceChoices.end())
        return options;
    const auto position = std::find_if(options.begin(), options.end(), [seconds](const auto &option) {
        return option.first.toInt() > seconds;
    });
    options.emplace(position, QString::number(seconds), graceTitle(seconds));
    return options;
}

int graceSecondsFromValue(const QString &value)
{
    bool ok = false;
    const int seconds = value.toInt(&ok, 10);
    return ok ? seconds : fallbackGrace;
}

Choices languagePicker()
{
    Choices options{{QString(), L10n::shared().string(QStringLiteral("common.systemDefault"))}};
    for (const AppLanguage language : AppLanguages::allCases())
        options.emplace_back(AppLanguages::code(language), AppLanguages::displayName(language));
    return options;
}

} // namespace veilora
