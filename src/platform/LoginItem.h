#pragma once

#include <QString>

#include <optional>

namespace veilora {

// Starting the application when the user logs in.
class LoginItem
{
public:
    virtual ~LoginItem() = default;

    // Registers (true) or unregisters (false) the application to start at the
    // user's login. Returns a description of the error on failure.
    virtual std::optional<QString> setRegistered(bool registered) = 0;

    virtual bool isRegistered() const = 0;
};

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
