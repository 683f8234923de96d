#include "SecretField.h"

#include <QKeyEvent>
#include <QPainter>
#include <QVariantAnimation>

#include <algorithm>
#include <cmath>

namespace veilora {

SecretField::SecretField(QWidget *parent)
    : QWidget(parent)
    , m_shakeAnimation(new QVariantAnimation(this))
{
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_InputMethodEnabled, false);
    setCursor(Qt::IBeamCursor);
    m_shakeAnimation->setStartValue(0.0);
    m_shakeAnimation->setEndValue(1.0);
    m_shakeAnimation->setDuration(360);
    connect(m_shakeAnimation, &QVariantAnimation::valueChanged, this, [this](const QVariant &value) {
        const qreal t = value.toReal();
        m_shake = std::sin(t * 6 * M_PI) * (1 - t) * 9;
        update();
    });
}

QSize SecretField::sizeHint() const
{
    return {240, 30};
}

void SecretField::setEcho(bool echo)
{
    m_echo = echo;
    update();
}

Secret SecretField::take()
{
    Secret taken = std::move(m_secret);
    m_secret = Secret();
    update();
    return taken;
}

void SecretField::clear()
{
    m_secret.clear();
    update();
}

void SecretField::setBusy(bool busy)
{
    m_busy = busy;
    update();
}

void SecretField::markRejected()
{
    m_rejected = true;
    m_shakeAnimation->stop();
    m_shakeAnimation->start();
    update();
}

void SecretField::keyPressEvent(QKeyEvent *event)
{
    const Qt::KeyboardModifiers commands = event->modifiers() & (Qt::ControlModifier | Qt::MetaModifier);
    if (event->key() == Qt::Key_Escape) {
        Q_EMIT cancelled();
        return;
    }
    if (m_busy)
        return;
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        Q_EMIT submitted();
        return;
    case Qt::Key_Backspace:
        m_secret.removeLastCharacter();
        break;
    case Qt::Key_U:
        if (commands == Qt::ControlModifier) {
            m_secret.clear();
            break;
        }
        [[fallthrough]];
    default: {
        const QString text = event->text();
        const bool printable = !text.isEmpty() && !commands &&
                               std::all_of(text.begin(), text.end(), [](QChar c) { return c.isPrint(); });
        if (!printable) {
            QWidget::keyPressEvent(event);
            return;
        }
        m_secret.append(text);
        break;
    }
    }
    m_rejected = false;
    update();
}

void SecretField::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(m_shake, 0);
    const QRectF frame = QRectF(rect()).adjusted(1, 1, -1, -1);
    QColor border = QColor::fromRgbF(1, 1, 1, hasFocus() ? 0.55 : 0.3);
    if (m_rejected)
        border = QColor(255, 105, 97);
    painter.setBrush(QColor::fromRgbF(1, 1, 1, m_busy ? 0.06 : 0.12));
    painter.setPen(QPen(border, m_rejected ? 1.5 : 1));
    painter.drawRoundedRect(frame, 7, 7);

    const QRectF inside = frame.adjusted(10, 0, -10, 0);
    painter.setClipRect(inside);
    painter.setPen(QColor::fromRgbF(1, 1, 1, m_busy ? 0.5 : 0.95));
    qreal caretX = inside.left();
    if (m_echo) {
        // Not a secret when the prompt asks for it to be shown.
        const QString shown = QString::fromUtf8(m_secret.data(), qsizetype(m_secret.byteCount()));
        painter.drawText(inside, Qt::AlignLeft | Qt::AlignVCenter, shown);
        caretX += fontMetrics().horizontalAdvance(shown);
    } else {
        const int dots = m_secret.characterCount();
        painter.setBrush(painter.pen().color());
        painter.setPen(Qt::NoPen);
        const qreal diameter = 7;
        const qreal step = 11;
        // When the dots overflow, the newest stay visible.
        const qreal start = std::min(inside.left(), inside.right() - dots * step);
        for (int i = 0; i < dots; ++i)
            painter.drawEllipse(
                QRectF(start + i * step, inside.center().y() - diameter / 2, diameter, diameter));
        caretX = start + dots * step;
    }
    if (hasFocus() && !m_busy) {
        painter.setPen(QPen(QColor::fromRgbF(1, 1, 1, 0.9), 1.2));
        painter.drawLine(QPointF(caretX + 1, inside.center().y() - 8),
                         QPointF(caretX + 1, inside.center().y() + 8));
    }
}

void SecretField::focusInEvent(QFocusEvent *event)
{
    QWidget::focusInEvent(event);
    update();
}

void SecretField::focusOutEvent(QFocusEvent *event)
{
    QWidget::focusOutEvent(event);
    update();
}

} // namespace veilora
