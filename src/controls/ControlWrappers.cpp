#include "ControlWrappers.h"

#include "controls/Symbols.h"

#include <QGuiApplication>

namespace veilora {

VLPillButton::Coordinator::Coordinator(std::function<void()> initial, QObject *owner)
    : QObject(owner)
    , action(std::move(initial))
{}

void VLPillButton::Coordinator::tapped()
{
    if (auto run = action)
        run();
}

VLPillButton::View::View(VLPillButton wrapper, QWidget *parentWidget)
    : m_button(new PillButton(wrapper.title, wrapper.filled, parentWidget))
    , m_coordinator(new Coordinator(std::move(wrapper.action), m_button))
{
    QObject::connect(m_button, &QAbstractButton::clicked, m_coordinator,
                     [coordinator = m_coordinator] { coordinator->tapped(); });
}

void VLPillButton::View::update(VLPillButton wrapper)
{
    m_button->setButtonTitle(wrapper.title);
    m_coordinator->action = std::move(wrapper.action);
}

VLSegmented::Coordinator::Coordinator(VLSegmented wrapper, QObject *owner)
    : QObject(owner)
    , parent(std::move(wrapper))
{}

namespace {

// Symbols at 12 points, semibold, as template images; an empty image for an unknown name.
QList<QImage> symbolImages(const QStringList &names)
{
    const qreal ratio = qGuiApp ? qGuiApp->devicePixelRatio() : 1.0;
    QList<QImage> images;
    for (const QString &name : names)
        images.append(Symbols::image(name, 12, QFont::DemiBold, Qt::black, ratio).toImage());
    return images;
}

} // namespace

VLSegmented::View::View(VLSegmented wrapper, QWidget *parentWidget)
    : m_control(new CapsuleSegmentedControl(symbolImages(wrapper.symbols), wrapper.tooltips, wrapper.width,
                                            wrapper.height, 6, parentWidget))
    , m_coordinator(new Coordinator(std::move(wrapper), m_control))
{
    m_control->setSelectedIndex(m_coordinator->parent.selection.get());
    m_control->onSelect = [weak = QPointer<Coordinator>(m_coordinator)](int index) {
        if (weak)
            weak->parent.selection.set(index);
    };
}

void VLSegmented::View::update(VLSegmented wrapper)
{
    m_coordinator->parent = std::move(wrapper);
    m_control->setSelectedIndex(m_coordinator->parent.selection.get());
}

} // namespace veilora
