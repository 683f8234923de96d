#pragma once

#include <QColor>
#include <QPalette>

class QEvent;

namespace veilora {

// The colours shared by the pill controls, resolved for the appearance of the
// palette they are drawn with: white tints on a dark palette, black tints on a
// light one. Qt has no dynamic colours, so the controls resolve them again
// whenever an appearance change reaches them (isAppearanceChange).
namespace PillTheme {

// The pill's background.
QColor field(const QPalette &palette);
// The pill's outline.
QColor fieldBorder(const QPalette &palette);
// The segmented control's outline, selection and dividers.
QColor segOverlay(const QPalette &palette);

// The application's accent: filled buttons, focus rings, the selected sidebar
// row and links. The one definition of it.
QColor accent();

// Text tones, from the palette's text colour in its current colour group (so a
// disabled control dims by itself): primary, secondary and tertiary.
QColor label(const QPalette &palette);
QColor secondaryLabel(const QPalette &palette);
QColor tertiaryLabel(const QPalette &palette);

// The events after which a control must resolve its colours again: its own or
// the application's palette changed, or the style did (the desktop switched
// between light and dark).
bool isAppearanceChange(const QEvent *event);

} // namespace PillTheme

} // namespace veilora
