#include "OnboardingParts.h"

#include "controls/FocusRing.h"
#include "controls/PillButton.h"
#include "controls/PillTheme.h"
#include "controls/Symbols.h"
#include "settings/ContinuousCorners.h"
#include "settings/GrantedBadge.h"
#include "settings/Theme.h"
#include "settings/ToneLabel.h"

#include <QKeyEvent>
#include <QPainter>
#include <QTimer>

namespace veilora {

namespace {

constexpr int plainPaddingX = 6;
constexpr int plainPaddingY = 4;
constexpr int plainTextFlags = Qt::AlignCenter | Qt::TextWordWrap;

QColor withAlpha(QColor colour, qreal alpha)
{
    colour.setAlphaF(float(alpha));
    return colour;
}

} // namespace

PageDots::PageDots(QWidget *parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void PageDots::setCurrent(int page)
{
    if (page == m_current)
        return;
    m_current = page;
    update();
}

QSize PageDots::sizeHint() const
{
    return {count * diameter + (count - 1) * spacing, diameter};
}

QRectF PageDots::dotRect(int page) const
{
    return {qreal(page * (diameter + spacing)), 0, qreal(diameter), qreal(diameter)};
}

void PageDots::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (int page = 0; page < count; ++page) {
        painter.setBrush(page == m_current ? PillTheme::accent() : Theme::primaryAt(palette(), 0.2));
        painter.drawEllipse(dotRect(page));
    }
}

WaitingDots::WaitingDots(QWidget *parent)
    : QWidget(parent)
    , m_timer(new QTimer(this))
{
    setFixedSize(count * diameter + (count - 1) * spacing, diameter);
    m_timer->setInterval(step);
    connect(m_timer, &QTimer::timeout, this, [this] {
        m_highlighted = (m_highlighted + 1) % count;
        update();
    });
}

void WaitingDots::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (int index = 0; index < count; ++index) {
        painter.setBrush(withAlpha(PillTheme::accent(), opacity(index)));
        painter.drawEllipse(QRectF(index * (diameter + spacing), 0, diameter, diameter));
    }
}

void WaitingDots::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    m_timer->start();
}

void WaitingDots::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    m_timer->stop();
}

PermissionChip::PermissionChip(QWidget *parent)
    : QWidget(parent)
{
    setFixedSize(side, side);
}

void PermissionChip::setGranted(bool granted)
{
    if (granted == m_granted)
        return;
    m_granted = granted;
    update();
}

QString PermissionChip::symbolName() const
{
    return m_granted ? QStringLiteral("checkmark") : QStringLiteral("camera.fill");
}

QColor PermissionChip::symbolColor() const
{
    return m_granted ? GrantedBadge::green() : PillTheme::accent();
}

void PermissionChip::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor colour = symbolColor();
    painter.fillPath(ContinuousCorners::path(rect(), 9), withAlpha(colour, m_granted ? 0.15 : 0.14));
    constexpr qreal symbol = 18;
    const QRectF box(QPointF(side - symbol, side - symbol) / 2, QSizeF(symbol, symbol));
    Symbols::draw(painter, symbolName(), box, colour, QFont::DemiBold);
}

HintSymbol::HintSymbol(const QString &symbolName, QWidget *parent)
    : QWidget(parent)
    , m_symbolName(symbolName)
{
    setFixedSize(sizeHint());
}

void HintSymbol::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRectF box(QPointF(frameWidth - symbolSize, height() - symbolSize) / 2.0,
                     QSizeF(symbolSize, symbolSize));
    Symbols::draw(painter, m_symbolName, box, PillTheme::accent(), QFont::Medium);
}

PlainButton::PlainButton(const QString &title, QWidget *parent)
    : QAbstractButton(parent)
{
    setText(title);
    setFont(Theme::font(11));
    setCursor(Qt::PointingHandCursor);
    // Repaints on entering and leaving, for the underline.
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus);
    QSizePolicy policy(QSizePolicy::Maximum, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

QSize PlainButton::sizeHint() const
{
    // One pixel more than the advance: a text measured to the pixel may still wrap.
    return {fontMetrics().horizontalAdvance(text()) + 2 * plainPaddingX + 1,
            fontMetrics().height() + 2 * plainPaddingY};
}

QSize PlainButton::minimumSizeHint() const
{
    return {fontMetrics().averageCharWidth() * 12, sizeHint().height()};
}

int PlainButton::heightForWidth(int width) const
{
    if (width >= sizeHint().width())
        return sizeHint().height();
    const QRect lines =
        fontMetrics().boundingRect(QRect(0, 0, width - 2 * plainPaddingX, 10000), plainTextFlags, text());
    return lines.height() + 2 * plainPaddingY;
}

void PlainButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    QColor colour = PillTheme::accent();
    if (isDown())
        colour = colour.darker(130);
    QFont font = this->font();
    font.setUnderline(underMouse());
    painter.setFont(font);
    painter.setPen(colour);
    painter.drawText(rect().adjusted(plainPaddingX, plainPaddingY, -plainPaddingX, -plainPaddingY),
                     plainTextFlags, text());
    if (hasFocus())
        FocusRing::draw(painter, rect(), 6);
}

void PlainButton::keyPressEvent(QKeyEvent *event)
{
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) &&
        !(event->modifiers() & ~Qt::KeypadModifier)) {
        click();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

namespace Onboarding {

PillButton *makePrimaryButton(QWidget *parent)
{
    auto *button = new PillButton(QString(), true, parent);
    button->setFont(Theme::font(13, QFont::Medium));
    button->setFixedHeight(36);
    button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    return button;
}

void setSpacedText(ToneLabel *label, const QString &text, int lineSpacing)
{
    label->setTextFormat(Qt::RichText);
    label->setText(QStringLiteral("<p align=\"center\" style=\"line-height: %1px; "
                                  "-qt-line-height-type: line-distance;\">%2</p>")
                       .arg(lineSpacing)
                       .arg(text.toHtmlEscaped()));
}

} // namespace Onboarding

} // namespace veilora
