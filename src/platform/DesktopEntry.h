#pragma once

#include <QString>

#include <optional>

namespace veilora {

// Helpers for writing freedesktop.org desktop entries.
namespace DesktopEntry {

// `program` as the first word of an Exec value: quoted where the format
// reserves a character, with backslashes, quotes, "$", "`" and "%" escaped so
// that launchers run exactly this path. None when the path holds a control
// character, which an Exec value cannot carry.
std::optional<QString> execProgram(const QString &program);

// The program this process should be started as: the AppImage when it runs from
// one (its mounted path changes at every start), else its own binary.
QString launchProgram();

} // namespace DesktopEntry

} // namespace veilora
