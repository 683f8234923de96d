#include "ContinuousCorners.h"

#include <QTransform>

#include <algorithm>
#include <array>

namespace veilora::ContinuousCorners {

namespace {

constexpr qreal reach = 1.52866483;

// One corner, measured from the corner point along the two edges: each point is
// (distance back along the incoming edge, distance along the outgoing edge).
struct CornerCurve
{
    std::array<QPointF, 9> points;
};

constexpr CornerCurve curve = {{{
    {1.08849323, 0},
    {0.86840689, 0},
    {0.66993427, 0.06549600},
    {0.39958848, 0.14468165},
    {0.14468165, 0.39958848},
    {0.06549600, 0.66993427},
    {0, 0.86840689},
    {0, 1.08849323},
    {0, reach},
}}};

} // namespace

QPainterPath path(const QRectF &rect, qreal radius)
{
    QPainterPath result;
    if (rect.isEmpty())
        return result;
    const qreal r = std::clamp(radius, 0.0, std::min(rect.width(), rect.height()) / 2 / reach);
    if (r <= 0) {
        result.addRect(rect);
        return result;
    }
    // Walk clockwise; for each corner, `along` points along the incoming edge
    // towards the corner and `inward` along the outgoing edge.
    const std::array<std::array<QPointF, 3>, 4> corners = {{
        {rect.topRight(), QPointF(1, 0), QPointF(0, 1)},
        {rect.bottomRight(), QPointF(0, 1), QPointF(-1, 0)},
        {rect.bottomLeft(), QPointF(-1, 0), QPointF(0, -1)},
        {rect.topLeft(), QPointF(0, -1), QPointF(1, 0)},
    }};
    const auto at = [r](const std::array<QPointF, 3> &corner, const QPointF &unit) {
        return corner[0] - corner[1] * unit.x() * r + corner[2] * unit.y() * r;
    };
    result.moveTo(at(corners[3], QPointF(0, reach)));
    for (const auto &corner : corners) {
        result.lineTo(at(corner, QPointF(reach, 0)));
        const auto &p = curve.points;
        for (std::size_t i = 0; i < p.size(); i += 3)
            result.cubicTo(at(corner, p[i]), at(corner, p[i + 1]), at(corner, p[i + 2]));
    }
    result.closeSubpath();
    return result;
}

} // namespace veilora::ContinuousCorners
