#include "VLPillButton.h"

namespace veilora {

VLPillButton::Coordinator::Coordinator(std::function<void()> initial, QObject *owner)
    : QObject(owner)
    , action(std::move(initial))
{}

void VLPillButton::Coordinator::tapped()
{
    // A copy: the action may lead to an update that replaces it while it runs.
    if (const auto run = action)
        run();
}

VLPillButton::View::View(VLPillButton wrapper, QWidget *parentWidget)
    : m_button(new PillButton(wrapper.title, wrapper.filled, parentWidget))
    , m_coordinator(new Coordinator(std::move(wrapper.action), m_button))
{
    // It keeps its own width however the row around it stretches.
    m_button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    QObject::connect(m_button, &QAbstractButton::clicked, m_coordinator,
                     [coordinator = m_coordinator.data()] { coordinator->tapped(); });
}

VLPillButton::View::~View()
{
    delete m_button;
}

void VLPillButton::View::update(VLPillButton wrapper)
{
    if (!m_button || !m_coordinator)
        return;
    m_button->setButtonTitle(wrapper.title);
    m_coordinator->action = std::move(wrapper.action);
}

} // namespace veilora
