#include "PillButton.h"

#include "controls/FocusRing.h"
#include "controls/PillAccessibility.h"
#include "controls/PillTheme.h"

#include <QKeyEvent>
#include <QPainter>

#include <algorithm>

namespace veilora {

namespace {

constexpr qreal cornerRadius = 8;
constexpr int buttonHeight = 26;
constexpr int textPadding = 6;
constexpr int endsAllowance = 24;

QFont titleFont(QFont font)
{
    font.setPixelSize(11);
    font.setWeight(QFont::DemiBold);
    return font;
}

} // namespace

PillButton::PillButton(const QString &title, bool filled, QWidget *parent)
    : QAbstractButton(parent)
    , m_filled(filled)
    , m_titleText(title)
{
    PillAccessibility::install();
    setText(title);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFont(titleFont(font()));
    applyColors();
}

void PillButton::setButtonTitle(const QString &title)
{
    if (title == m_titleText)
        return;
    m_titleText = title;
    setText(title);
    applyColors();
    updateGeometry();
}

QSize PillButton::standardSize() const
{
    return {fontMetrics().horizontalAdvance(m_titleText) + 2 * textPadding, buttonHeight};
}

QSize PillButton::sizeHint() const
{
    return standardSize() + QSize(endsAllowance, 0);
}

void PillButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal radius = std::min<qreal>(cornerRadius, height() / 2.0);
    const QRectF bounds = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(m_filled ? QPen(Qt::NoPen) : QPen(m_border, 1));
    painter.setBrush(m_background);
    painter.drawRoundedRect(bounds, radius, radius);
    if (isDown()) {
        // Pressed: darker by a translucent layer of the text's own contrast.
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_filled ? QColor(0, 0, 0, 40) : m_border);
        painter.drawRoundedRect(bounds, radius, radius);
    }
    painter.setPen(m_text);
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, m_titleText);
    if (hasFocus())
        FocusRing::draw(painter, rect(), radius);
}

void PillButton::keyPressEvent(QKeyEvent *event)
{
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) &&
        !(event->modifiers() & ~Qt::KeypadModifier)) {
        click();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

void PillButton::changeEvent(QEvent *event)
{
    QAbstractButton::changeEvent(event);
    if (PillTheme::isAppearanceChange(event) || event->type() == QEvent::EnabledChange)
        applyColors();
}

void PillButton::applyColors()
{
    const QPalette &colours = palette();
    if (m_filled) {
        m_background = PillTheme::accent();
        if (!isEnabled())
            m_background.setAlphaF(0.45f);
        m_text = Qt::white;
    } else {
        m_background = PillTheme::field(colours);
        m_border = PillTheme::fieldBorder(colours);
        m_text = PillTheme::label(colours);
    }
    update();
}

} // namespace veilora
