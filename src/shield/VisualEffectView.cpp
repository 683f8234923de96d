#include "VisualEffectView.h"

#include <QPainter>

namespace veilora {

VisualEffectView::VisualEffectView(Material material, Blending blending, QWidget *parent)
    : QWidget(parent)
    , m_material(material)
    , m_blending(blending)
{}

void VisualEffectView::setMaterial(Material material, Blending blending)
{
    m_material = material;
    m_blending = blending;
    update();
}

void VisualEffectView::setBackdrop(std::shared_ptr<const FrostedBackdrop> backdrop)
{
    m_backdrop = std::move(backdrop);
    setAttribute(Qt::WA_OpaquePaintEvent, m_backdrop && !m_backdrop->isEmpty());
    update();
}

void VisualEffectView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect global(mapToGlobal(QPoint(0, 0)), size());
    if (m_backdrop && m_backdrop->paint(painter, rect(), global))
        return;
    // No capture to show: a neutral tint, darker for a full-screen material.
    const QColor tint =
        m_material == Material::fullScreenUI ? QColor(58, 60, 66) : QColor(236, 236, 238, 235);
    painter.fillRect(rect(), tint);
}

VeilView::VeilView(QWidget *parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void VeilView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), QColor::fromRgbF(0, 0, 0, opacity));
}

} // namespace veilora
