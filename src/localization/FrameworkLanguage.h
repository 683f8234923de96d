#pragma once

#include <QString>

#include <optional>

namespace veilora::FrameworkLanguage {

// Makes Qt's own texts (standard buttons, message boxes, file dialogs, the
// line-edit context menu) follow the interface language.
//
// Qt ships its translations as catalogs ("qt_de.qm", a meta catalog pulling in
// qtbase_de.qm, qtmultimedia_de.qm, …) in its translations folder; nothing
// loads them unless the application does. Once installed, the hook keeps one
// QTranslator on the application that matches:
//  - the code the user chose explicitly (`setCode`), resolved by `catalogFor`;
//  - with no explicit choice, the first of the preferred languages
//    (SystemLanguages::preferredLanguages) for which a catalog resolves — so
//    with "System" Qt's texts follow the system;
//  - nothing when no catalog resolves: Qt's built-in English.
//
// The code and the resolution cache are guarded by one process-wide lock; the
// file-system search runs outside it. The translator itself is swapped on the
// main thread (calls from elsewhere are forwarded there).

// The explicit choice: a language code, or none to follow the system.
void setCode(const std::optional<QString> &code);
std::optional<QString> code();

// Installs the hook once per process; later calls do nothing. Safe before the
// QApplication exists: the catalogs are then loaded while it is constructed,
// before any widget asks for a text.
void installOnce();

// Qt's translations folder (QLibraryInfo::TranslationsPath).
QString translationsPath();

// The catalog in `dir` for language `code`, trying in turn the code itself,
// its first two characters ("pt-BR" → "pt", "zh-Hant" → "zh") and, for codes
// beginning with "en", Qt's built-in English. A candidate matches a file
// "qt_<name>.qm" or "qtbase_<name>.qm", where <name> is the candidate in
// POSIX form ("pt_BR") or Qt's locale name for it ("zh-Hans" → "zh_CN",
// "zh-Hant" and "zh-HK" → "zh_TW"). Answers the file's path, an empty path for
// the built-in English, or none. Successful answers are cached per dir and
// code for the life of the process; failures are searched again next time.
std::optional<QString> catalogFor(const QString &dir, const QString &code);

// Whether `catalogFor(dir, code)` would be answered from the cache.
bool isCached(const QString &dir, const QString &code);

} // namespace veilora::FrameworkLanguage
