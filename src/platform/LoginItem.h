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

} // namespace veilora
