#include "BlendScrollArea.h"

#include "Theme.h"

#include <QMouseEvent>
#include <QPainter>
#include <QProxyStyle>

#include <algorithm>

namespace veilora {

namespace {

// Makes the scroll area lay the bar over the viewport (Qt's transient scroll
// bar layout); the bar still draws itself as a BlendScrollBar.
class OverlayScrollBarStyle : public QProxyStyle
{
public:
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *returnData) const override
    {
        if (hint == SH_ScrollBar_Transient)
            return 1;
        return QProxyStyle::styleHint(hint, option, widget, returnData);
    }
};

constexpr qreal minimumKnob = 28;

} // namespace

BlendScrollBar::BlendScrollBar(QWidget *parent)
    : QScrollBar(Qt::Vertical, parent)
{
    // The scroll area asks its bar's style whether the bar floats over the content.
    auto *style = new OverlayScrollBarStyle;
    style->setParent(this);
    setStyle(style);
    setAutoFillBackground(false);
    setMouseTracking(true);
}

QSize BlendScrollBar::sizeHint() const
{
    return {thickness, 2 * thickness};
}

QRectF BlendScrollBar::knob() const
{
    const qreal track = height() - 4;
    const qreal span = maximum() - minimum() + pageStep();
    if (span <= 0 || maximum() <= minimum())
        return {};
    const qreal length = std::max(minimumKnob, track * pageStep() / span);
    const qreal top = 2 + (track - length) * (value() - minimum()) / (maximum() - minimum());
    const qreal width = m_hovered || m_dragOffset ? 8 : 6;
    return {(thickness - width) / 2 + 1, top, width, length};
}

int BlendScrollBar::valueAt(qreal knobTop) const
{
    const QRectF current = knob();
    const qreal travel = height() - 4 - current.height();
    if (travel <= 0)
        return value();
    const qreal fraction = std::clamp((knobTop - 2) / travel, 0.0, 1.0);
    return minimum() + qRound(fraction * (maximum() - minimum()));
}

void BlendScrollBar::paintEvent(QPaintEvent *)
{
    const QRectF area = knob();
    if (area.isEmpty())
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::primaryAt(palette(), m_hovered || m_dragOffset ? 0.45 : 0.3));
    painter.drawRoundedRect(area, area.width() / 2, area.width() / 2);
}

void BlendScrollBar::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return QScrollBar::mousePressEvent(event);
    const QRectF area = knob();
    const qreal y = event->position().y();
    if (area.contains(QPointF(area.center().x(), y))) {
        m_dragOffset = y - area.top();
    } else {
        // A click beside the knob pages towards the click, as everywhere else.
        triggerAction(y < area.top() ? SliderPageStepSub : SliderPageStepAdd);
    }
    update();
}

void BlendScrollBar::mouseMoveEvent(QMouseEvent *event)
{
    if (m_dragOffset)
        setValue(valueAt(event->position().y() - *m_dragOffset));
}

void BlendScrollBar::mouseReleaseEvent(QMouseEvent *)
{
    m_dragOffset.reset();
    update();
}

void BlendScrollBar::enterEvent(QEnterEvent *)
{
    m_hovered = true;
    update();
}

void BlendScrollBar::leaveEvent(QEvent *)
{
    m_hovered = false;
    update();
}

BlendScrollArea::BlendScrollArea(QWidget *parent)
    : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBar(new BlendScrollBar);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    viewport()->setAutoFillBackground(false);
    setAutoFillBackground(false);
    setFocusPolicy(Qt::NoFocus);
}

void BlendScrollArea::setContent(QWidget *content)
{
    setWidget(content);
    // QScrollArea makes its widget paint the window colour; the pane's own must show.
    content->setAutoFillBackground(false);
}

} // namespace veilora
