#pragma once

#include <QRectF>

class QPainter;

namespace veilora {

// The keyboard focus ring of the pill controls. It follows the control's own
// rounded outline and lies just inside it: a widget cannot paint beyond its
// rectangle, and rows in the settings cards leave no margin around controls.
namespace FocusRing {

void draw(QPainter &painter, const QRectF &bounds, qreal cornerRadius);

} // namespace FocusRing

} // namespace veilora
