#pragma once

#include <QPainterPath>
#include <QRectF>

namespace veilora {

// A rounded rectangle whose corners blend into the edges with continuous
// curvature (no visible kink where the arc meets the straight side), the shape
// of the icon chips, cards and the application icon.
namespace ContinuousCorners {

// The corner starts about 1.53 × `radius` from each corner point; on a small
// rectangle the radius shrinks so that two corners never overlap.
QPainterPath path(const QRectF &rect, qreal radius);

} // namespace ContinuousCorners

} // namespace veilora
