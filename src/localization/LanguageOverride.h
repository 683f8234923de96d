#pragma once

#include <QString>
#include <QStringList>

namespace veilora::LanguageOverride {

// The per-application interface-language list in the user defaults. Written
// only when the user picks a language and removed when they go back to
// "System"; while present it stands in for the system's preferred languages
// (SystemLanguages::preferredLanguages).
inline constexpr char key[] = "AppleLanguages";

// The stored list; empty when there is none (or it is not a list of strings).
QStringList current();

// Stores [code].
void set(const QString &code);

void remove();

} // namespace veilora::LanguageOverride
