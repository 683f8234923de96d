#include "GrantedBadge.h"

#include "Theme.h"

#include <QPainter>

namespace veilora {

GrantedBadge::GrantedBadge(const QString &text, QWidget *parent)
    : QLabel(text, parent)
{
    setFont(Theme::font(11, QFont::DemiBold));
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignCenter);
    setContentsMargins(10, 4, 10, 4);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    QPalette own = palette();
    own.setColor(QPalette::WindowText, green());
    setPalette(own);
}

QColor GrantedBadge::green()
{
    return QColor::fromRgb(5, 150, 105);
}

void GrantedBadge::paintEvent(QPaintEvent *event)
{
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QColor fill = green();
        fill.setAlphaF(0.14f);
        painter.setPen(Qt::NoPen);
        painter.setBrush(fill);
        const qreal radius = height() / 2.0;
        painter.drawRoundedRect(QRectF(rect()), radius, radius);
    }
    QLabel::paintEvent(event);
}

} // namespace veilora
