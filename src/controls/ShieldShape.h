#pragma once

#include <QPainterPath>
#include <QRectF>

namespace veilora {

// The application's shield outline: a pointed top, straight sloping shoulders and
// convex sides meeting in a point at the bottom.
class ShieldShape
{
public:
    // Measured from (0, 0) with the size of `rect`, y growing downwards; the
    // rectangle's origin is not applied, so translate the painter to place it.
    static QPainterPath path(const QRectF &rect);
};

} // namespace veilora
