#pragma once

#include "platform/LoginItem.h"

#include <optional>

namespace veilora {

// A stand-in that records what was asked and fails when told to.
class FakeLoginItem : public LoginItem
{
public:
    std::optional<QString> setRegistered(bool value) override
    {
        ++calls;
        if (failure)
            return failure;
        registered = value;
        return std::nullopt;
    }
    bool isRegistered() const override { return registered; }

    bool registered = false;
    int calls = 0;
    std::optional<QString> failure;
};

} // namespace veilora
