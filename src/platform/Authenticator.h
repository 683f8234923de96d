#pragma once

#include <QString>

#include <functional>
#include <optional>

namespace veilora {

// Proof that the person at the keyboard owns the account (password, or whatever
// else the system's authentication stack accepts, such as a fingerprint).
class Authenticator
{
public:
    virtual ~Authenticator() = default;

    // Whether an authentication can be attempted at all. When not, `error` (if
    // given) receives a user-readable reason, or stays empty when there is none.
    virtual bool canEvaluate(std::optional<QString> *error) = 0;

    // Asks the user to authenticate, explaining why with `reason`. `reply` is
    // called exactly once, on any thread: true on success, false on failure or
    // cancellation (with a reason when one is known).
    using Reply = std::function<void(bool success, std::optional<QString> error)>;
    virtual void evaluate(const QString &reason, Reply reply) = 0;
};

} // namespace veilora
