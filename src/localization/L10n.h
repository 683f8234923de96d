#pragma once

#include "AppLanguage.h"

#include <QObject>
#include <QString>
#include <QVariantList>

#include <optional>

namespace veilora {

// The process-wide text lookup and the interface language in force.
//
// Main thread only. `language()` is `en` from construction until `bootstrap()`;
// afterwards it changes only through `apply()`, which emits `languageChanged()`
// whenever the language in force changes.
class L10n : public QObject
{
    Q_OBJECT

public:
    static L10n &shared();

    // The text of `key` in the interface language, else in English, else `key`.
    QString string(const QString &key) const;

    AppLanguage language() const { return m_language; }

    // Once at start-up: applies the stored "languageCode" (none when absent or empty).
    void bootstrap();

    // Makes a choice take effect. A code of one of the fourteen languages selects
    // it and sets the per-application override "AppleLanguages" to [code]; none,
    // an empty or an unknown code follows the system and removes the override.
    // Qt's own translations follow (FrameworkLanguage).
    void apply(const std::optional<QString> &code);

Q_SIGNALS:
    void languageChanged();

private:
    L10n() = default;
    static void syncSystemOverride(const std::optional<QString> &code);
    void setLanguage(AppLanguage language);

    AppLanguage m_language = AppLanguage::en;
};

// Fills a table text. printf-style and locale-independent (digits are ASCII,
// the decimal point is '.', no grouping), whatever the interface language:
//   %d, %i (also %ld, %lld)  the next argument as an integer
//   %@, %s                   the next argument as text (QVariant::toString)
//   %f, %.Nf                 the next argument with N decimals (6 by default)
//   %%                       a '%'
// A directive without an argument left, or one not listed, stays as written.
// formatText(L10n::shared().string(u"pg.graceFmtSec"_s), {30}) → "30 Sek." in German.
QString formatText(const QString &format, const QVariantList &args);

// For the process entry, before the QApplication exists: copies the stored
// "languageCode" into the per-application override "AppleLanguages" ([code];
// removed when there is none or it is empty) and installs the hook that loads
// Qt's own translations while the application object is constructed, so even
// the earliest framework texts come up in the chosen language.
void applyLanguageOverrideAtLaunch();

} // namespace veilora
