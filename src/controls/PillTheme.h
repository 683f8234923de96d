#pragma once

#include <QColor>
#include <QPalette>

namespace veilora {

// The three colours shared by the pill controls, resolved for the appearance of
// the palette they are drawn with: on a dark palette white tints, on a light one
// black tints. The controls resolve them again whenever their palette changes.
namespace PillTheme {

bool isDark(const QPalette &palette);

// The pill's background.
QColor field(const QPalette &palette);
// The pill's outline.
QColor fieldBorder(const QPalette &palette);
// The segmented control's outline, selection and dividers.
QColor segOverlay(const QPalette &palette);

// The application's accent: filled buttons and focus rings.
QColor accent();

} // namespace PillTheme

} // namespace veilora
