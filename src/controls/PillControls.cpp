#include "PillControls.h"

#include "controls/PillTheme.h"
#include "controls/Symbols.h"

#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <QStyleOption>

#include <algorithm>
#include <cmath>

namespace veilora {

namespace {

QFont pixelFont(const QFont &base, int pixelSize, QFont::Weight weight)
{
    QFont font = base;
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    return font;
}

bool isAppearanceChange(const QEvent *event)
{
    return event->type() == QEvent::PaletteChange || event->type() == QEvent::ApplicationPaletteChange ||
           event->type() == QEvent::StyleChange;
}

QColor toned(const QPalette &palette, qreal opacity)
{
    QColor colour = palette.color(QPalette::WindowText);
    colour.setAlphaF(float(opacity));
    return colour;
}

// A keyboard focus ring in the shape of the control.
void drawFocusRing(QPainter &painter, const QRectF &bounds, qreal radius)
{
    QColor ring = PillTheme::accent();
    ring.setAlphaF(0.6f);
    painter.setPen(QPen(ring, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(bounds.adjusted(1, 1, -1, -1), radius - 1, radius - 1);
}

} // namespace

// ---- PulldownPill

PulldownPill::PulldownPill(const QString &title, QWidget *parent)
    : QAbstractButton(parent)
    , label(new QLabel(title, this))
    , chevron(new QLabel(this))
{
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    label->setFont(pixelFont(font(), 12, QFont::Medium));
    label->setAlignment(Qt::AlignCenter);
    label->setTextFormat(Qt::PlainText);
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    chevron->setFixedSize(11, 11);
    // The pill answers for its whole rectangle: clicks on either part reach it.
    label->setAttribute(Qt::WA_TransparentForMouseEvents);
    chevron->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(10, 0, 9, 0);
    row->setSpacing(5);
    row->addWidget(label, 1);
    row->addWidget(chevron, 0);
    setAccessibleName(title);
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
    return {10 + text + 5 + chevron->width() + 9, 26};
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
    painter.setPen(QPen(PillTheme::fieldBorder(palette()), 1));
    painter.setBrush(PillTheme::field(palette()));
    painter.drawRoundedRect(bounds, 7, 7);
    if (isDown()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(PillTheme::field(palette()));
        painter.drawRoundedRect(bounds, 7, 7);
    }
    if (hasFocus())
        drawFocusRing(painter, rect(), 7);
}

void PulldownPill::changeEvent(QEvent *event)
{
    QAbstractButton::changeEvent(event);
    if (isAppearanceChange(event) || event->type() == QEvent::EnabledChange)
        applyColors();
}

void PulldownPill::applyColors()
{
    QPalette text = label->palette();
    text.setColor(QPalette::WindowText, palette().color(QPalette::WindowText));
    label->setPalette(text);
    const QColor tertiary = toned(palette(), 0.45);
    chevron->setPixmap(
        Symbols::image(QStringLiteral("chevron.down"), 9, QFont::DemiBold, tertiary, devicePixelRatioF()));
    update();
}

// ---- PillButton

PillButton::PillButton(const QString &title, bool filled, QWidget *parent)
    : QAbstractButton(parent)
    , m_filled(filled)
    , m_titleText(title)
{
    setText(title);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFont(pixelFont(font(), 11, QFont::DemiBold));
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

QSize PillButton::sizeHint() const
{
    // The standard button's content width, plus room for the rounded ends.
    const int text = fontMetrics().horizontalAdvance(m_titleText);
    return {text + 16 + 24, 26};
}

void PillButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF bounds = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    const qreal radius = std::min<qreal>(8, height() / 2.0);
    if (m_filled) {
        QColor fill = PillTheme::accent();
        if (!isEnabled())
            fill.setAlphaF(0.45f);
        else if (isDown())
            fill = fill.darker(115);
        painter.setPen(Qt::NoPen);
        painter.setBrush(fill);
    } else {
        painter.setPen(QPen(PillTheme::fieldBorder(palette()), 1));
        painter.setBrush(isDown() ? PillTheme::fieldBorder(palette()) : PillTheme::field(palette()));
    }
    painter.drawRoundedRect(bounds, radius, radius);
    QColor text = m_filled ? QColor(Qt::white) : palette().color(QPalette::WindowText);
    if (!isEnabled() && !m_filled)
        text = toned(palette(), 0.35);
    painter.setPen(text);
    painter.setFont(font());
    painter.drawText(rect(), Qt::AlignCenter, m_titleText);
    if (hasFocus())
        drawFocusRing(painter, rect(), radius);
}

void PillButton::changeEvent(QEvent *event)
{
    QAbstractButton::changeEvent(event);
    if (isAppearanceChange(event))
        applyColors();
}

void PillButton::applyColors()
{
    setAccessibleName(m_titleText);
    update();
}

// ---- CapsuleSegmentedControl

CapsuleSegmentedControl::CapsuleSegmentedControl(const QList<QImage> &images, const QStringList &tooltips,
                                                 int width, int height, std::optional<qreal> cornerRadius,
                                                 QWidget *parent)
    : QWidget(parent)
    , m_images(images)
    , m_segmentCount(std::max<int>(1, int(images.size())))
    , m_cornerRadius(cornerRadius)
{
    setFixedSize(width, height);
    setFocusPolicy(Qt::StrongFocus);
    for (int i = 0; i < images.size(); ++i) {
        auto *icon = new QLabel(this);
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
}

std::optional<int> CapsuleSegmentedControl::segmentAt(qreal x) const
{
    if (width() <= 0)
        return std::nullopt;
    const qreal segment = qreal(width()) / m_segmentCount;
    return std::clamp(int(std::floor(x / segment)), 0, m_segmentCount - 1);
}

void CapsuleSegmentedControl::pick(int index)
{
    if (index == m_selectedIndex)
        return;
    setSelectedIndex(index);
    if (auto callback = onSelect)
        callback(m_selectedIndex);
}

void CapsuleSegmentedControl::mousePressEvent(QMouseEvent *event)
{
    if (const std::optional<int> index = segmentAt(event->position().x()))
        pick(*index);
}

void CapsuleSegmentedControl::keyPressEvent(QKeyEvent *event)
{
    const bool rtl = layoutDirection() == Qt::RightToLeft;
    if (event->key() == (rtl ? Qt::Key_Right : Qt::Key_Left))
        pick(std::max(0, m_selectedIndex - 1));
    else if (event->key() == (rtl ? Qt::Key_Left : Qt::Key_Right))
        pick(std::min(m_segmentCount - 1, m_selectedIndex + 1));
    else
        QWidget::keyPressEvent(event);
}

void CapsuleSegmentedControl::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (isAppearanceChange(event)) {
        tintIcons();
        update();
    }
}

void CapsuleSegmentedControl::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    layoutIcons();
}

void CapsuleSegmentedControl::tintIcons()
{
    for (int i = 0; i < m_iconViews.size(); ++i) {
        const QColor tint =
            i == m_selectedIndex ? palette().color(QPalette::WindowText) : toned(palette(), 0.55);
        QImage image = m_images[i].convertToFormat(QImage::Format_ARGB32_Premultiplied);
        if (!image.isNull()) {
            QPainter painter(&image);
            painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
            painter.fillRect(image.rect(), tint);
        }
        m_iconViews[i]->setPixmap(QPixmap::fromImage(image));
    }
}

void CapsuleSegmentedControl::layoutIcons()
{
    const qreal segment = qreal(width()) / m_segmentCount;
    for (int i = 0; i < m_iconViews.size(); ++i) {
        const QSizeF size = m_images[i].isNull() ? QSizeF() : m_images[i].deviceIndependentSize();
        m_iconViews[i]->setGeometry(
            QRectF(QPointF(segment * (i + 0.5) - size.width() * 0.5, height() * 0.5 - size.height() * 0.5),
                   size)
                .toRect());
    }
}

void CapsuleSegmentedControl::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal h = height();
    const qreal r = std::min(m_cornerRadius.value_or(h * 0.5), h * 0.5);
    const QColor overlay = PillTheme::segOverlay(palette());

    painter.setPen(QPen(overlay, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), r, r);

    painter.save();
    QPainterPath inside;
    inside.addRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), std::max<qreal>(r - 1, 0),
                          std::max<qreal>(r - 1, 0));
    painter.setClipPath(inside);
    const qreal w = qreal(width()) / m_segmentCount;
    painter.fillRect(QRectF(w * m_selectedIndex, 0, w, h), overlay);
    if (m_segmentCount > 1) {
        const qreal d = std::round(h * 0.6);
        painter.setRenderHint(QPainter::Antialiasing, false);
        for (int i = 1; i < m_segmentCount; ++i) {
            if (i - 1 == m_selectedIndex || i == m_selectedIndex)
                continue;
            painter.fillRect(QRectF(std::round(w * i - 0.5), std::round((h - d) * 0.5), 1, d), overlay);
        }
    }
    painter.restore();
    if (hasFocus())
        drawFocusRing(painter, rect(), r);
}

} // namespace veilora
