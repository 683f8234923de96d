#include "TesterModeIcon.h"

#include "AppIconView.h"
#include "ContinuousCorners.h"
#include "TesterModel.h"

#include <QMouseEvent>
#include <QPainter>

namespace veilora {

bool TesterGesture::click(Clock::time_point now)
{
    if (!m_clickedBefore || now - m_lastClick > maxPause)
        m_clicks = 0;
    m_clickedBefore = true;
    m_lastClick = now;
    if (++m_clicks < clicksNeeded)
        return false;
    m_clicks = 0;
    return true;
}

TesterModeIcon::TesterModeIcon(int size, TesterModel &tester, QWidget *parent)
    : QWidget(parent)
    , m_size(size)
    , m_tester(tester)
{
    setFixedSize(sizeHint());
    connect(&tester, &TesterModel::changed, this, qOverload<>(&QWidget::update));
}

void TesterModeIcon::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame(4, 4, m_size, m_size);
    AppIconView::paint(painter, frame);
    if (!m_tester.enabled())
        return;
    painter.setPen(QPen(QColor(Qt::red), 2));
    painter.setBrush(Qt::NoBrush);
    // Centred in a square frame of the icon's size plus 8.
    const QRectF outline = QRectF(rect()).adjusted(1, 1, -1, -1);
    painter.drawPath(ContinuousCorners::path(outline, m_size * 0.222 + 3));
}

void TesterModeIcon::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return QWidget::mousePressEvent(event);
    if (m_gesture.click(TesterGesture::Clock::now()))
        m_tester.toggle();
}

} // namespace veilora
