#include "DisplayReconfigWatcher.h"

#include "platform/display/DisplayServices.h"

namespace veilora {

std::shared_ptr<DisplayReconfigWatcher> DisplayReconfigWatcher::create(std::function<void()> onChange)
{
    return std::shared_ptr<DisplayReconfigWatcher>(new DisplayReconfigWatcher(std::move(onChange)));
}

DisplayReconfigWatcher::DisplayReconfigWatcher(std::function<void()> onChange)
    : m_onChange(std::move(onChange))
{}

void DisplayReconfigWatcher::start(DisplayServices &displays)
{
    if (m_registered)
        return;
    m_registered = true;
    std::weak_ptr<DisplayReconfigWatcher> weak = weak_from_this();
    QObject::connect(
        &displays, &DisplayServices::reconfigured, m_debounce.context(),
        [weak] {
            if (auto self = weak.lock())
                self->schedule();
        },
        Qt::DirectConnection);
}

void DisplayReconfigWatcher::schedule()
{
    std::weak_ptr<DisplayReconfigWatcher> weak = weak_from_this();
    m_debounce.async([weak] {
        auto self = weak.lock();
        if (!self)
            return;
        if (self->m_pending)
            self->m_pending->cancel();
        self->m_pending = self->m_debounce.asyncAfter(debounceDelay, [weak] {
            if (auto alive = weak.lock())
                alive->m_onChange();
        });
    });
}

} // namespace veilora
