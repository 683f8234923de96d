#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

namespace veilora {

// The settings window's colours and type. The two brand colours are fixed; every
// other colour derives from the palette the widget is drawn with, so the window
// follows the desktop's light or dark scheme and re-colours when it changes.
namespace Theme {

// The selected sidebar row, filled buttons and links (the controls' accent).
QColor accent();
// Warnings such as the camera-denied notice.
QColor warn();

enum class Tone
{
    primary,
    secondary,
    tertiary,
};

// The palette's text colour, toned down for secondary and tertiary text.
QColor text(const QPalette &palette, Tone tone);

// The palette's text colour at `opacity`: the base of fills and hairlines.
QColor primaryAt(const QPalette &palette, qreal opacity);

QColor cardFill(const QPalette &palette);
QColor cardBorder(const QPalette &palette);
QColor divider(const QPalette &palette);
QColor sidebarFill(const QPalette &palette);

// The application font at a size in device-independent pixels.
QFont font(int pixelSize, QFont::Weight weight = QFont::Normal);

} // namespace Theme

} // namespace veilora
