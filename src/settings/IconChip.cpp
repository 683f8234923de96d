#include "IconChip.h"

#include "ContinuousCorners.h"
#include "controls/Symbols.h"

#include <QLinearGradient>
#include <QPainter>

namespace veilora {

namespace {

constexpr qreal cornerRadius = 6;
// The symbol's em box: 13 px type, as the tab titles beside it.
constexpr qreal symbolSize = 13;

} // namespace

IconChip::IconChip(const QString &symbolName, const std::array<QColor, 2> &colors, QWidget *parent)
    : QWidget(parent)
    , m_symbolName(symbolName)
    , m_colors(colors)
{
    setFixedSize(side, side);
}

void IconChip::paint(QPainter &painter, const QRectF &frame, const QString &symbolName,
                     const std::array<QColor, 2> &colors)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient gradient(frame.topLeft(), frame.bottomLeft());
    gradient.setColorAt(0, colors[0]);
    gradient.setColorAt(1, colors[1]);
    const QPainterPath shape = ContinuousCorners::path(frame, cornerRadius);
    painter.fillPath(shape, gradient);
    // A faint white edge inside the shape keeps dark chips apart from a dark sidebar.
    QColor edge(Qt::white);
    edge.setAlphaF(0.18);
    painter.strokePath(ContinuousCorners::path(frame.adjusted(0.25, 0.25, -0.25, -0.25), cornerRadius - 0.25),
                       QPen(edge, 0.5));
    const QRectF box(frame.center().x() - symbolSize / 2, frame.center().y() - symbolSize / 2, symbolSize,
                     symbolSize);
    Symbols::draw(painter, symbolName, box, Qt::white, QFont::DemiBold);
    painter.restore();
}

void IconChip::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paint(painter, rect(), m_symbolName, m_colors);
}

} // namespace veilora
