#include "ToggleSwitch.h"

#include "Theme.h"
#include "controls/Palettes.h"

#include <QFocusEvent>
#include <QPainter>
#include <QSignalBlocker>
#include <QVariantAnimation>

namespace veilora {

ToggleSwitch::ToggleSwitch(QWidget *parent)
    : QAbstractButton(parent)
    , m_slide(new QVariantAnimation(this))
{
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    m_slide->setDuration(140);
    m_slide->setEasingCurve(QEasingCurve::OutCubic);
    connect(m_slide, &QVariantAnimation::valueChanged, this, [this](const QVariant &value) {
        m_position = value.toReal();
        update();
    });
}

QSize ToggleSwitch::sizeHint() const
{
    return trackSize + QSize(2 * ringMargin, 2 * ringMargin);
}

void ToggleSwitch::showChecked(bool checked)
{
    const QSignalBlocker blocker(this);
    setChecked(checked);
}

QRectF ToggleSwitch::track() const
{
    return {QPointF((width() - trackSize.width()) / 2.0, (height() - trackSize.height()) / 2.0),
            QSizeF(trackSize)};
}

bool ToggleSwitch::hitButton(const QPoint &position) const
{
    return rect().contains(position);
}

void ToggleSwitch::checkStateSet()
{
    QAbstractButton::checkStateSet();
    slideKnob();
}

void ToggleSwitch::nextCheckState()
{
    QAbstractButton::nextCheckState();
    slideKnob();
}

void ToggleSwitch::slideKnob()
{
    const qreal target = isChecked() ? 1 : 0;
    m_slide->stop();
    // Only a switch on screen slides; a fresh or hidden one just shows the state.
    if (!isVisible() || m_position == target) {
        m_position = target;
        update();
        return;
    }
    m_slide->setStartValue(m_position);
    m_slide->setEndValue(target);
    m_slide->start();
}

void ToggleSwitch::focusInEvent(QFocusEvent *event)
{
    QAbstractButton::focusInEvent(event);
    m_keyboardFocus = event->reason() != Qt::MouseFocusReason;
    update();
}

void ToggleSwitch::focusOutEvent(QFocusEvent *event)
{
    QAbstractButton::focusOutEvent(event);
    m_keyboardFocus = false;
    update();
}

void ToggleSwitch::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled())
        painter.setOpacity(0.45);
    const QRectF area = track();
    const qreal radius = area.height() / 2;

    const QColor off = Theme::primaryAt(palette(), Palettes::isDark(palette()) ? 0.22 : 0.16);
    const QColor on = Theme::accent();
    const auto mix = [](const QColor &a, const QColor &b, qreal t) {
        return QColor::fromRgbF(
            a.redF() + (b.redF() - a.redF()) * t, a.greenF() + (b.greenF() - a.greenF()) * t,
            a.blueF() + (b.blueF() - a.blueF()) * t, a.alphaF() + (b.alphaF() - a.alphaF()) * t);
    };
    painter.setPen(Qt::NoPen);
    painter.setBrush(mix(off, on, m_position));
    painter.drawRoundedRect(area, radius, radius);
    if (isDown()) {
        painter.setBrush(Theme::primaryAt(palette(), 0.08));
        painter.drawRoundedRect(area, radius, radius);
    }

    if (hasFocus() && m_keyboardFocus) {
        QColor ring = Theme::accent();
        ring.setAlphaF(0.5);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(ring, 2.5));
        const QRectF outer = area.adjusted(-2, -2, 2, 2);
        painter.drawRoundedRect(outer, outer.height() / 2, outer.height() / 2);
        painter.setPen(Qt::NoPen);
    }

    const qreal inset = 2;
    const qreal knob = area.height() - 2 * inset;
    const qreal travel = area.width() - 2 * inset - knob;
    const bool rtl = layoutDirection() == Qt::RightToLeft;
    const qreal x = area.left() + inset + travel * (rtl ? 1 - m_position : m_position);
    const QRectF knobRect(x, area.top() + inset, knob, knob);
    // A soft shadow lifts the knob off a light track.
    painter.setBrush(QColor(0, 0, 0, 40));
    painter.drawEllipse(knobRect.translated(0, 0.75).adjusted(-0.5, -0.5, 0.5, 0.5));
    painter.setBrush(Qt::white);
    painter.drawEllipse(knobRect);
}

} // namespace veilora
