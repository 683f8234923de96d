#include "SidebarRow.h"

#include "ContinuousCorners.h"
#include "IconChip.h"
#include "SettingsTabInfo.h"
#include "Theme.h"

#include <QPainter>

namespace veilora {

namespace {

constexpr int verticalPadding = 5;
constexpr int horizontalPadding = 8;
constexpr int chipTextSpacing = 10;
constexpr qreal cornerRadius = 8;
constexpr int textSize = 13;

} // namespace

SidebarRow::SidebarRow(SettingsTab tab, QWidget *parent)
    : QAbstractButton(parent)
    , m_tab(tab)
{
    setCheckable(true);
    setFocusPolicy(Qt::NoFocus);
    setFont(Theme::font(textSize, QFont::Medium));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAttribute(Qt::WA_Hover);
    retranslate();
}

void SidebarRow::setSelected(bool selected)
{
    setChecked(selected);
}

void SidebarRow::setFocusRingVisible(bool visible)
{
    if (m_focusRing == visible)
        return;
    m_focusRing = visible;
    update();
}

void SidebarRow::retranslate()
{
    setText(SettingsTabs::title(m_tab));
    setAccessibleDescription(SettingsTabs::subtitle(m_tab));
    setToolTip(SettingsTabs::subtitle(m_tab));
    updateGeometry();
    update();
}

QSize SidebarRow::sizeHint() const
{
    const int textWidth = QFontMetrics(font()).horizontalAdvance(text());
    return {2 * ringMargin + 2 * horizontalPadding + IconChip::side + chipTextSpacing + textWidth,
            2 * ringMargin + 2 * verticalPadding + IconChip::side};
}

QRectF SidebarRow::fillRect() const
{
    return QRectF(rect()).adjusted(ringMargin, ringMargin, -ringMargin, -ringMargin);
}

bool SidebarRow::hitButton(const QPoint &position) const
{
    return fillRect().contains(position);
}

void SidebarRow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF fill = fillRect();
    const QPainterPath shape = ContinuousCorners::path(fill, cornerRadius);
    if (isSelected()) {
        painter.fillPath(shape, Theme::accent());
    } else if (isDown()) {
        painter.fillPath(shape, Theme::primaryAt(palette(), 0.1));
    } else if (underMouse()) {
        painter.fillPath(shape, Theme::primaryAt(palette(), 0.06));
    }
    if (m_focusRing) {
        // Outside the fill with a hairline gap, so it shows around the accent fill too.
        QColor ring = Theme::accent();
        ring.setAlphaF(0.6);
        const QRectF outer = QRectF(rect()).adjusted(1, 1, -1, -1);
        painter.strokePath(ContinuousCorners::path(outer, cornerRadius + 2), QPen(ring, 2));
    }

    const bool rtl = layoutDirection() == Qt::RightToLeft;
    const qreal chipX =
        rtl ? fill.right() - horizontalPadding - IconChip::side : fill.left() + horizontalPadding;
    const QRectF chip(chipX, fill.center().y() - IconChip::side / 2.0, IconChip::side, IconChip::side);
    IconChip::paint(painter, chip, SettingsTabs::symbol(m_tab), SettingsTabs::iconColors(m_tab));

    const qreal textLeft = rtl ? fill.left() + horizontalPadding : chip.right() + chipTextSpacing;
    const qreal textRight = rtl ? chip.left() - chipTextSpacing : fill.right() - horizontalPadding;
    const QRectF textArea(textLeft, fill.top(), textRight - textLeft, fill.height());
    painter.setFont(font());
    painter.setPen(isSelected() ? QColor(Qt::white) : Theme::text(palette(), Theme::Tone::primary));
    const QString shown = QFontMetrics(font()).elidedText(text(), Qt::ElideRight, int(textArea.width()));
    painter.drawText(textArea, Qt::AlignVCenter | (rtl ? Qt::AlignRight : Qt::AlignLeft), shown);
}

} // namespace veilora
