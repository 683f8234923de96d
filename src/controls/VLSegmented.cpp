#include "VLSegmented.h"

#include "controls/Symbols.h"

namespace veilora {

namespace {

constexpr qreal symbolSize = 12;
constexpr qreal cornerRadius = 6;

QList<QIcon> symbolIcons(const QStringList &names)
{
    QList<QIcon> icons;
    for (const QString &name : names)
        icons.append(Symbols::icon(name, symbolSize, QFont::DemiBold));
    return icons;
}

} // namespace

VLSegmented::Coordinator::Coordinator(VLSegmented wrapper, QObject *owner)
    : QObject(owner)
    , parent(std::move(wrapper))
{}

VLSegmented::View::View(VLSegmented wrapper, QWidget *parentWidget)
    : m_control(new CapsuleSegmentedControl(symbolIcons(wrapper.symbols), wrapper.tooltips, wrapper.width,
                                            wrapper.height, cornerRadius, parentWidget))
    , m_coordinator(new Coordinator(std::move(wrapper), m_control))
{
    m_control->setSelectedIndex(m_coordinator->parent.selection.get());
    m_control->onSelect = [coordinator = m_coordinator](int index) {
        if (coordinator)
            coordinator->parent.selection.set(index);
    };
}

VLSegmented::View::~View()
{
    delete m_control;
}

void VLSegmented::View::update(VLSegmented wrapper)
{
    if (!m_control || !m_coordinator)
        return;
    m_coordinator->parent = std::move(wrapper);
    m_control->setSelectedIndex(m_coordinator->parent.selection.get());
}

} // namespace veilora
