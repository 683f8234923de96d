#include "UnlockPillView.h"

#include "controls/Pictograms.h"
#include "localization/L10n.h"

#include <QPainter>
#include <QPainterPath>

namespace veilora {

UnlockPillView::UnlockPillView(std::function<void()> action, QWidget *parent)
    : QAbstractButton(parent)
    , m_action(std::move(action))
{
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::NoFocus);
    connect(this, &QAbstractButton::clicked, this, [this] {
        if (m_action)
            m_action();
    });
    connect(&L10n::shared(), &L10n::languageChanged, this, qOverload<>(&QWidget::update));
}

QRectF UnlockPillView::capsule() const
{
    return QRectF(rect()).adjusted(padding, padding, -padding, -padding);
}

bool UnlockPillView::hitButton(const QPoint &position) const
{
    QPainterPath shape;
    const QRectF area = capsule();
    shape.addRoundedRect(area, area.height() / 2, area.height() / 2);
    return shape.contains(position);
}

void UnlockPillView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = capsule();
    const qreal radius = area.height() / 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgbF(1, 1, 1, isDown() ? 0.22 : 0.14));
    painter.drawRoundedRect(area, radius, radius);
    // The outline sits inside the capsule's border.
    const QRectF inner = area.adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor::fromRgbF(1, 1, 1, 0.25), 1));
    painter.drawRoundedRect(inner, inner.height() / 2, inner.height() / 2);

    QFont font;
    font.setPixelSize(textSize);
    font.setWeight(QFont::DemiBold);
    const QString text = L10n::shared().string(QStringLiteral("ov.unlock"));
    const qreal textWidth = QFontMetricsF(font).horizontalAdvance(text);
    const qreal total = symbolSize + spacing + textWidth;
    const qreal left = area.center().x() - total / 2;
    Pictograms::drawFingerprint(
        painter, QRectF(left, area.center().y() - symbolSize / 2.0, symbolSize, symbolSize), Qt::white);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(QRectF(left + symbolSize + spacing, area.top(), textWidth + 1, area.height()),
                     Qt::AlignLeft | Qt::AlignVCenter, text);
}

} // namespace veilora
