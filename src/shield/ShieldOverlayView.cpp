#include "ShieldOverlayView.h"

#include "VisualEffectView.h"
#include "controls/Pictograms.h"
#include "localization/L10n.h"

#include <QFontMetrics>
#include <QPainter>

namespace veilora {

namespace {

QFont systemFont(int pixelSize, QFont::Weight weight)
{
    QFont font;
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    return font;
}

// The centred stack: pictogram, title, subtitle.
class ShieldMessageView : public QWidget
{
public:
    explicit ShieldMessageView(QWidget *parent)
        : QWidget(parent)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        connect(&L10n::shared(), &L10n::languageChanged, this, qOverload<>(&QWidget::update));
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        const QString title = L10n::shared().string(QStringLiteral("ov.title"));
        const QString subtitle = L10n::shared().string(QStringLiteral("ov.subtitle"));
        const QFont titleFont = systemFont(ShieldOverlayView::titleSize, QFont::DemiBold);
        const QFont subtitleFont = systemFont(ShieldOverlayView::subtitleSize, QFont::Normal);
        const QFontMetrics titleMetrics(titleFont);
        const QFontMetrics subtitleMetrics(subtitleFont);
        // A symbol set at 44 points is about as tall as the font's cap height plus
        // descent; the eye is a little wider than tall.
        const qreal symbolHeight = ShieldOverlayView::symbolSize * 0.78;
        const qreal symbolWidth = symbolHeight * 1.3;
        const qreal total = symbolHeight + ShieldOverlayView::spacing + titleMetrics.height() +
                            ShieldOverlayView::spacing + subtitleMetrics.height();
        qreal y = (height() - total) / 2.0;
        const qreal width = this->width();

        QPainter painter(this);
        painter.setRenderHint(QPainter::TextAntialiasing);
        Pictograms::drawEyeSlash(painter, QRectF((width - symbolWidth) / 2.0, y, symbolWidth, symbolHeight),
                                 QColor::fromRgbF(1, 1, 1, 0.85));
        y += symbolHeight + ShieldOverlayView::spacing;
        painter.setFont(titleFont);
        painter.setPen(QColor::fromRgbF(1, 1, 1, 0.9));
        painter.drawText(QRectF(0, y, width, titleMetrics.height()), Qt::AlignHCenter | Qt::AlignTop, title);
        y += titleMetrics.height() + ShieldOverlayView::spacing;
        painter.setFont(subtitleFont);
        painter.setPen(QColor::fromRgbF(1, 1, 1, 0.6));
        painter.drawText(QRectF(0, y, width, subtitleMetrics.height()), Qt::AlignHCenter | Qt::AlignTop,
                         subtitle);
    }
};

} // namespace

ShieldOverlayView::ShieldOverlayView(QWidget *parent)
    : QWidget(parent)
    , m_effect(new VisualEffectView(VisualEffectView::Material::fullScreenUI,
                                    VisualEffectView::Blending::behindWindow, this))
    , m_veil(new VeilView(this))
    , m_message(new ShieldMessageView(this))
{
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void ShieldOverlayView::setBackdrop(std::shared_ptr<const FrostedBackdrop> backdrop)
{
    m_effect->setBackdrop(std::move(backdrop));
}

void ShieldOverlayView::resizeEvent(QResizeEvent *)
{
    for (QWidget *layer : {static_cast<QWidget *>(m_effect), m_veil, m_message})
        layer->setGeometry(rect());
}

} // namespace veilora
