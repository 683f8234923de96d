#include "CapsuleSegmentedControl.h"

#include "controls/FocusRing.h"
#include "controls/PillAccessibility.h"
#include "controls/PillTheme.h"

#include <QAccessible>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

#include <algorithm>
#include <cmath>

namespace veilora {

CapsuleSegmentedControl::CapsuleSegmentedControl(const QList<QIcon> &images, const QStringList &tooltips,
                                                 int width, int height, std::optional<qreal> cornerRadius,
                                                 QWidget *parent)
    : QWidget(parent)
    , m_segmentCount(std::max<int>(1, int(images.size())))
    , m_cornerRadius(cornerRadius)
{
    PillAccessibility::install();
    setFixedSize(width, height);
    setFocusPolicy(Qt::TabFocus);
    for (int i = 0; i < images.size(); ++i) {
        auto *icon = new IconView(images[i], IconView::Tone::secondary, this);
        if (i < tooltips.size())
            icon->setToolTip(tooltips[i]);
        m_iconViews.append(icon);
    }
    tintIcons();
    layoutIcons();
}

void CapsuleSegmentedControl::setSelectedIndex(int index)
{
    const int clamped = std::clamp(index, 0, m_segmentCount - 1);
    if (clamped == m_selectedIndex)
        return;
    m_selectedIndex = clamped;
    tintIcons();
    update();
    if (QAccessible::isActive()) {
        QAccessibleEvent selected(this, QAccessible::Selection);
        selected.setChild(clamped);
        QAccessible::updateAccessibility(&selected);
    }
}

void CapsuleSegmentedControl::activateSegment(int index)
{
    if (!isEnabled() || index == m_selectedIndex || index < 0 || index >= m_segmentCount)
        return;
    setSelectedIndex(index);
    // A copy: the callback may replace itself.
    if (const auto callback = onSelect)
        callback(m_selectedIndex);
}

qreal CapsuleSegmentedControl::segmentWidth() const
{
    return qreal(width()) / m_segmentCount;
}

QRectF CapsuleSegmentedControl::segmentRect(int index) const
{
    return {segmentWidth() * index, 0, segmentWidth(), qreal(height())};
}

std::optional<int> CapsuleSegmentedControl::segmentAt(qreal x) const
{
    // No width, no segment a click could mean.
    if (width() <= 0)
        return std::nullopt;
    return std::clamp(int(x / segmentWidth()), 0, m_segmentCount - 1);
}

void CapsuleSegmentedControl::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    if (const std::optional<int> index = segmentAt(event->position().x()))
        activateSegment(*index);
}

void CapsuleSegmentedControl::keyPressEvent(QKeyEvent *event)
{
    // Segments run left to right in every layout direction, and so do the keys.
    switch (event->key()) {
    case Qt::Key_Left:
        activateSegment(std::max(0, m_selectedIndex - 1));
        break;
    case Qt::Key_Right:
        activateSegment(std::min(m_segmentCount - 1, m_selectedIndex + 1));
        break;
    case Qt::Key_Home:
        activateSegment(0);
        break;
    case Qt::Key_End:
        activateSegment(m_segmentCount - 1);
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

bool CapsuleSegmentedControl::event(QEvent *event)
{
    // The whole segment shows its tooltip, not just the icon in it.
    if (event->type() == QEvent::ToolTip) {
        const auto *help = static_cast<QHelpEvent *>(event);
        const std::optional<int> index = segmentAt(help->pos().x());
        if (index && *index < m_iconViews.size() && !m_iconViews[*index]->toolTip().isEmpty())
            QToolTip::showText(help->globalPos(), m_iconViews[*index]->toolTip(), this,
                               segmentRect(*index).toAlignedRect());
        else
            QToolTip::hideText();
        return true;
    }
    return QWidget::event(event);
}

void CapsuleSegmentedControl::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    // Colours are resolved while drawing.
    if (PillTheme::isAppearanceChange(event))
        update();
}

void CapsuleSegmentedControl::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    layoutIcons();
}

void CapsuleSegmentedControl::tintIcons()
{
    for (int i = 0; i < m_iconViews.size(); ++i)
        m_iconViews[i]->setTone(i == m_selectedIndex ? IconView::Tone::label : IconView::Tone::secondary);
}

void CapsuleSegmentedControl::layoutIcons()
{
    // Each icon at its own size, centred in its segment.
    const qreal w = segmentWidth();
    for (int i = 0; i < m_iconViews.size(); ++i) {
        const QSizeF size = m_iconViews[i]->naturalSize();
        const QPointF origin(w * (i + 0.5) - size.width() * 0.5, height() * 0.5 - size.height() * 0.5);
        m_iconViews[i]->setGeometry(QRectF(origin, size).toRect());
    }
}

void CapsuleSegmentedControl::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF bounds(rect());
    const qreal h = bounds.height();
    const qreal r = std::min(m_cornerRadius.value_or(h * 0.5), h * 0.5);
    const QColor overlay = PillTheme::segOverlay(palette());

    painter.setPen(QPen(overlay, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(bounds.adjusted(0.5, 0.5, -0.5, -0.5), r, r);

    // Everything else stays inside the outline. The selection is cut to the
    // inner shape as a path rather than by clipping, so its rounded ends are
    // antialiased like the outline.
    const qreal innerRadius = std::max<qreal>(r - 1, 0);
    QPainterPath inside;
    inside.addRoundedRect(bounds.adjusted(1, 1, -1, -1), innerRadius, innerRadius);
    QPainterPath selected;
    selected.addRect(segmentRect(m_selectedIndex));
    painter.setPen(Qt::NoPen);
    painter.setBrush(overlay);
    painter.drawPath(inside.intersected(selected));

    if (m_segmentCount > 1) {
        // Whole pixels, so the one-pixel dividers stay sharp; rounding halves
        // away from zero, as std::round does.
        const qreal w = segmentWidth();
        const qreal d = std::round(h * 0.6);
        painter.save();
        painter.setClipPath(inside);
        painter.setRenderHint(QPainter::Antialiasing, false);
        for (int i = 1; i < m_segmentCount; ++i) {
            if (i - 1 == m_selectedIndex || i == m_selectedIndex)
                continue;
            painter.fillRect(QRectF(std::round(w * i - 0.5), std::round((h - d) * 0.5), 1, d), overlay);
        }
        painter.restore();
    }
    if (hasFocus())
        FocusRing::draw(painter, bounds, r);
}

} // namespace veilora
