#pragma once

#include <QColor>
#include <QRectF>

class QPainter;

namespace veilora {

// The shield's two pictograms, drawn as vectors so they stay sharp at any scale
// and need no icon theme.
namespace Pictograms {

// A filled eye struck through by a slash, fitted into `box` (about 1.3 : 1).
void drawEyeSlash(QPainter &painter, const QRectF &box, const QColor &color);

// A fingerprint of concentric ridges, fitted into the square `box`.
void drawFingerprint(QPainter &painter, const QRectF &box, const QColor &color);

} // namespace Pictograms

} // namespace veilora
