#pragma once

#include "platform/display/DisplayServices.h"

namespace veilora {

// A stand-in for machines without the hardware to test (a lid, display sleep).
class FakeDisplayServices : public DisplayServices
{
    Q_OBJECT
public:
    std::optional<std::vector<ActiveDisplay>> activeDisplays(int capacity) const override
    {
        if (!displays)
            return std::nullopt;
        auto list = *displays;
        if (static_cast<int>(list.size()) > capacity)
            list.resize(static_cast<size_t>(capacity));
        return list;
    }

    std::optional<std::vector<ActiveDisplay>> displays =
        std::vector<ActiveDisplay>{{QStringLiteral("eDP-1"), true, false}};
};

} // namespace veilora
