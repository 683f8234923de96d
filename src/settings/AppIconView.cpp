#include "AppIconView.h"

#include "ContinuousCorners.h"
#include "controls/ShieldShape.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPixmap>

namespace veilora {

namespace {

// The icon is designed on a 140-unit grid.
constexpr qreal grid = 140;

} // namespace

AppIconView::AppIconView(int size, QWidget *parent)
    : QWidget(parent)
    , m_size(size)
{
    setFixedSize(size, size);
    setAttribute(Qt::WA_TranslucentBackground);
}

void AppIconView::paint(QPainter &painter, const QRectF &frame)
{
    const qreal side = std::min(frame.width(), frame.height());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(frame.center().x() - side / 2, frame.center().y() - side / 2);
    painter.scale(side / grid, side / grid);

    const QRectF square(0, 0, grid, grid);
    QLinearGradient gradient(QPointF(0.3706 * grid, 0.0171 * grid), QPointF(0.6294 * grid, 0.9829 * grid));
    gradient.setColorAt(0, QColor(74, 163, 255));
    gradient.setColorAt(0.48, QColor(10, 132, 255));
    gradient.setColorAt(1, QColor(88, 86, 214));
    painter.setPen(Qt::NoPen);
    painter.setBrush(gradient);
    painter.drawPath(ContinuousCorners::path(square, 31.1));

    QColor white(Qt::white);
    white.setAlphaF(0.96);
    const QSizeF shield(72, 84);
    painter.save();
    painter.translate((grid - shield.width()) / 2, (grid - shield.height()) / 2);
    QPen outline(white, 9, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    painter.setPen(outline);
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(ShieldShape::path(QRectF(QPointF(0, 0), shield)));
    painter.restore();

    const QSizeF bar(34, 8);
    painter.setPen(Qt::NoPen);
    painter.setBrush(white);
    painter.drawRoundedRect(QRectF(QPointF((grid - bar.width()) / 2, (grid - bar.height()) / 2), bar), 4, 4);
    painter.restore();
}

QIcon AppIconView::icon()
{
    QIcon result;
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(painter, QRectF(0, 0, size, size));
        painter.end();
        result.addPixmap(pixmap);
    }
    return result;
}

void AppIconView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paint(painter, rect());
}

} // namespace veilora
