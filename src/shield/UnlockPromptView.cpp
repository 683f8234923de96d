#include "UnlockPromptView.h"

#include "SecretField.h"

#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace veilora {

namespace {

QLabel *makeLabel(int pixelSize, QFont::Weight weight, QWidget *parent)
{
    auto *label = new QLabel(parent);
    QFont font = label->font();
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    label->setFont(font);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

void setTextColor(QLabel *label, const QColor &color)
{
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
}

} // namespace

UnlockPromptView::UnlockPromptView(QWidget *parent)
    : QWidget(parent)
    , m_reason(makeLabel(14, QFont::DemiBold, this))
    , m_request(makeLabel(12, QFont::Normal, this))
    , m_field(new SecretField(this))
    , m_message(makeLabel(12, QFont::Normal, this))
{
    setTextColor(m_reason, Qt::white);
    setTextColor(m_request, QColor::fromRgbF(1, 1, 1, 0.7));
    m_reason->setAlignment(Qt::AlignHCenter);
    m_message->setAlignment(Qt::AlignHCenter);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 16, 20, 14);
    layout->setSpacing(6);
    layout->addWidget(m_reason);
    layout->addWidget(m_request);
    layout->addWidget(m_field);
    layout->addWidget(m_message);
    layout->addStretch();
    setFocusProxy(m_field);
}

void UnlockPromptView::setReason(const QString &reason)
{
    // The reason reads as a phrase ("unlock the screen blur"); as a heading it
    // starts with a capital.
    QString heading = reason;
    if (!heading.isEmpty())
        heading[0] = heading[0].toUpper();
    m_reason->setText(heading);
}

void UnlockPromptView::setRequest(const QString &message)
{
    m_request->setText(message);
}

void UnlockPromptView::setMessage(const QString &text, CredentialPrompt::MessageKind kind)
{
    setTextColor(m_message, kind == CredentialPrompt::MessageKind::error ? QColor(255, 140, 130)
                                                                         : QColor::fromRgbF(1, 1, 1, 0.8));
    m_message->setText(text);
}

void UnlockPromptView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF panel = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setBrush(QColor::fromRgbF(0.1, 0.1, 0.12, 0.55));
    painter.setPen(QPen(QColor::fromRgbF(1, 1, 1, 0.22), 1));
    painter.drawRoundedRect(panel, 14, 14);
}

} // namespace veilora
