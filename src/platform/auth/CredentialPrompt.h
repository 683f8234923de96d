#pragma once

#include "Secret.h"

#include <QString>

#include <functional>

namespace veilora {

// What an authentication needs of the user interface: somewhere to type a secret
// and to read what the system's authentication stack has to say. Main thread
// only; the authenticator makes the hops from its worker thread.
class CredentialPrompt
{
public:
    enum class MessageKind
    {
        info,
        error
    };

    virtual ~CredentialPrompt() = default;

    // An authentication begins: show the prompt, explaining why with `reason`.
    // Call `cancel` when the user dismisses it; it may be called at any time until
    // `close()`, and more than once.
    virtual void open(const QString &reason, std::function<void()> cancel) = 0;

    // The stack asks for a secret with `message` (say "Password: "), to be shown
    // as typed when `echo`. Call `answer` at most once, with what was entered.
    virtual void askSecret(const QString &message, bool echo, std::function<void(Secret)> answer) = 0;

    // Something to tell the user, such as a fingerprint reader's "Place your finger".
    virtual void showMessage(const QString &text, MessageKind kind) = 0;

    // The secret was wrong; another request may follow.
    virtual void reject() = 0;

    // The authentication is over, whatever its outcome.
    virtual void close() = 0;
};

} // namespace veilora
