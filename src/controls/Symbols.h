#pragma once

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QPixmap>
#include <QString>

class QPainter;
class QRectF;

namespace veilora {

// The small pictograms the interface names by symbol ("gearshape.fill",
// "chevron.down", …), drawn as vectors in code so they are crisp at any scale
// and need no icon theme. They are template images: one colour, given when
// drawn. Their shapes follow the shield's own pictograms (filled glyphs,
// rounded strokes).
namespace Symbols {

bool exists(const QString &name);

// Draws `name` fitted into `box`; a stroke weight follows `weight`. Does
// nothing for an unknown name.
void draw(QPainter &painter, const QString &name, const QRectF &box, const QColor &tint,
          QFont::Weight weight = QFont::Normal);

// The symbol at `pointSize` (its em box, in device-independent pixels) as a
// pixmap for `devicePixelRatio`; a null pixmap for an unknown name.
QPixmap image(const QString &name, qreal pointSize, QFont::Weight weight, const QColor &tint,
              qreal devicePixelRatio);

// The symbol as a template icon (drawn in black, to be tinted) that renders
// afresh for every size and pixel ratio asked of it; its one available size is
// that of image(). A null icon for an unknown name.
QIcon icon(const QString &name, qreal pointSize, QFont::Weight weight);

} // namespace Symbols

} // namespace veilora
