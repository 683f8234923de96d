#include "PulldownPill.h"

#include "controls/ElidingLabel.h"
#include "controls/FocusRing.h"
#include "controls/PillAccessibility.h"
#include "controls/PillTheme.h"
#include "controls/Symbols.h"

#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>

#include <algorithm>

namespace veilora {

namespace {

constexpr qreal cornerRadius = 7;
constexpr int pillHeight = 26;
constexpr int leadingInset = 10;
constexpr int labelToChevron = 5;
constexpr int trailingInset = 9;

QFont labelFont(QFont font)
{
    font.setPixelSize(12);
    font.setWeight(QFont::Medium);
    return font;
}

} // namespace

PulldownPill::PulldownPill(const QString &title, QWidget *parent)
    : QAbstractButton(parent)
    , label(new ElidingLabel(title, this))
    , chevron(new IconView(Symbols::icon(QStringLiteral("chevron.down"), 9, QFont::DemiBold),
                           IconView::Tone::tertiary, this))
{
    PillAccessibility::install();
    // Keyboard users reach it with Tab; a click does not leave a focus ring behind.
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);

    label->setFont(labelFont(font()));
    label->setAlignment(Qt::AlignCenter);
    // The label gives way first: a long choice shortens before the pill grows.
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    // The pill answers for its whole rectangle: clicks on either part reach it.
    label->setAttribute(Qt::WA_TransparentForMouseEvents);

    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(leadingInset, 0, trailingInset, 0);
    row->setSpacing(labelToChevron);
    row->addWidget(label, 1);
    row->addWidget(chevron, 0, Qt::AlignVCenter);
    applyColors();
}

void PulldownPill::setAlpha(qreal alpha)
{
    m_alpha = std::clamp(alpha, 0.0, 1.0);
    if (m_alpha >= 1.0) {
        setGraphicsEffect(nullptr);
        return;
    }
    auto *effect = qobject_cast<QGraphicsOpacityEffect *>(graphicsEffect());
    if (!effect) {
        effect = new QGraphicsOpacityEffect(this);
        setGraphicsEffect(effect);
    }
    effect->setOpacity(m_alpha);
}

QSize PulldownPill::sizeHint() const
{
    const int text = label->fontMetrics().horizontalAdvance(label->text());
    return {leadingInset + text + labelToChevron + chevron->sizeHint().width() + trailingInset, pillHeight};
}

QSize PulldownPill::minimumSizeHint() const
{
    return {leadingInset + label->minimumSizeHint().width() + labelToChevron + chevron->sizeHint().width() +
                trailingInset,
            pillHeight};
}

bool PulldownPill::hitButton(const QPoint &pos) const
{
    return isVisible() && m_alpha >= 0.01 && rect().contains(pos);
}

void PulldownPill::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF bounds = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(m_fieldBorder, 1));
    painter.setBrush(m_field);
    painter.drawRoundedRect(bounds, cornerRadius, cornerRadius);
    if (isDown()) {
        // Pressed: the field once more over itself, a shade deeper.
        painter.setPen(Qt::NoPen);
        painter.drawRoundedRect(bounds, cornerRadius, cornerRadius);
    }
    if (hasFocus())
        FocusRing::draw(painter, rect(), cornerRadius);
}

void PulldownPill::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Down:
        if (event->modifiers() & ~(Qt::KeypadModifier | Qt::AltModifier))
            break;
        click();
        return;
    default:
        break;
    }
    QAbstractButton::keyPressEvent(event);
}

void PulldownPill::changeEvent(QEvent *event)
{
    QAbstractButton::changeEvent(event);
    if (PillTheme::isAppearanceChange(event))
        applyColors();
}

void PulldownPill::applyColors()
{
    m_field = PillTheme::field(palette());
    m_fieldBorder = PillTheme::fieldBorder(palette());
    update();
}

} // namespace veilora
