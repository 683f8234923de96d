#include "CameraPreviewView.h"

#include "settings/Theme.h"

#include <QPainter>
#include <QPainterPath>

namespace veilora {

CameraPreviewView::CameraPreviewView(QWidget *parent)
    : QWidget(parent)
{
    setFixedSize(sizeHint());
    // Every pixel is painted: nothing behind needs drawing first.
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void CameraPreviewView::showFrame(const QImage &frame)
{
    if (frame.isNull())
        return;
    m_frame = frame;
    update();
}

void CameraPreviewView::setPlaceholder(const QString &text)
{
    if (text == m_placeholder)
        return;
    m_placeholder = text;
    update();
}

void CameraPreviewView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    // The corners outside the rounded edge show the sheet behind.
    painter.fillRect(rect(), palette().window());

    const QRectF frameRect = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QPainterPath rounded;
    rounded.addRoundedRect(frameRect, cornerRadius, cornerRadius);
    painter.save();
    painter.setClipPath(rounded);
    painter.fillRect(rect(), QColor(18, 18, 20));
    if (!m_frame.isNull()) {
        // Scale to cover the frame, centred, then flip left and right.
        const QSizeF covering = QSizeF(m_frame.size()).scaled(size(), Qt::KeepAspectRatioByExpanding);
        const QRectF target((width() - covering.width()) / 2, (height() - covering.height()) / 2,
                            covering.width(), covering.height());
        painter.translate(width(), 0);
        painter.scale(-1, 1);
        painter.drawImage(target, m_frame);
    } else if (!m_placeholder.isEmpty()) {
        painter.setPen(QColor(255, 255, 255, 190));
        painter.setFont(Theme::font(13));
        painter.drawText(rect().adjusted(32, 0, -32, 0), Qt::AlignCenter | Qt::TextWordWrap, m_placeholder);
    }
    painter.restore();

    painter.setPen(QPen(Theme::divider(palette()), 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(rounded);
}

} // namespace veilora
