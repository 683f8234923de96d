#include "IconView.h"

#include "controls/PillTheme.h"

#include <QPainter>

namespace veilora {

IconView::IconView(const QIcon &icon, Tone tone, QWidget *parent)
    : QWidget(parent)
    , m_icon(icon)
    , m_tone(tone)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void IconView::setTone(Tone tone)
{
    if (tone == m_tone)
        return;
    m_tone = tone;
    update();
}

QSize IconView::naturalSize() const
{
    const QList<QSize> sizes = m_icon.availableSizes();
    return sizes.isEmpty() ? QSize() : sizes.first();
}

QColor IconView::tint() const
{
    switch (m_tone) {
    case Tone::secondary:
        return PillTheme::secondaryLabel(palette());
    case Tone::tertiary:
        return PillTheme::tertiaryLabel(palette());
    case Tone::label:
        break;
    }
    return PillTheme::label(palette());
}

void IconView::paintEvent(QPaintEvent *)
{
    if (m_icon.isNull() || size().isEmpty())
        return;
    QImage shape = m_icon.pixmap(size(), devicePixelRatioF()).toImage();
    if (shape.isNull())
        return;
    shape = shape.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    {
        // A template icon: keep its coverage, replace its colour.
        QPainter tinting(&shape);
        tinting.setCompositionMode(QPainter::CompositionMode_SourceIn);
        tinting.fillRect(QRectF(QPointF(), shape.deviceIndependentSize()), tint());
    }
    QPainter painter(this);
    const QSizeF shown = shape.deviceIndependentSize();
    painter.drawImage(QPointF((width() - shown.width()) / 2, (height() - shown.height()) / 2), shape);
}

} // namespace veilora
