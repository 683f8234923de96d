#pragma once

#include "CredentialPrompt.h"
#include "platform/Authenticator.h"
#include "platform/SerialQueue.h"

#include <atomic>
#include <memory>

namespace veilora {

// The worker-thread side of one authentication's dialogue with the user.
class Conversation
{
public:
    struct Channel;
    explicit Conversation(std::shared_ptr<Channel> channel);

    // Asks the user for a secret and waits for it; none when the user cancelled.
    std::optional<Secret> askSecret(const QString &message, bool echo);
    void tell(const QString &text, CredentialPrompt::MessageKind kind);
    bool isCancelled() const;

private:
    std::shared_ptr<Channel> m_channel;
};

// One way to prove who the user is, tried on a worker thread.
class AuthenticationMethod
{
public:
    enum class Result
    {
        success,
        rejected, // wrong secret: worth another try
        cancelled,
        failed
    };
    struct Outcome
    {
        Result result = Result::failed;
        std::optional<QString> error;
    };

    virtual ~AuthenticationMethod() = default;

    // Any thread; cheap enough to ask before every authentication.
    virtual bool canEvaluate(std::optional<QString> *error) = 0;

    // Runs on the authenticator's worker thread; may block while the user types.
    virtual Outcome attempt(Conversation &conversation) = 0;
};

// An Authenticator that talks to the user through a CredentialPrompt and checks
// with an AuthenticationMethod, one authentication at a time, on a worker thread
// of its own so the user interface never waits for the system's stack. A wrong
// secret may be retried `maxAttempts` times in all before the reply is false.
//
// The prompt must outlive the authenticator. Destroying the authenticator
// cancels a running authentication and waits for it to end.
class PromptedAuthenticator final : public Authenticator
{
public:
    static constexpr int maxAttempts = 3;

    PromptedAuthenticator(CredentialPrompt &prompt, std::shared_ptr<AuthenticationMethod> method);
    ~PromptedAuthenticator() override;
    PromptedAuthenticator(const PromptedAuthenticator &) = delete;
    PromptedAuthenticator &operator=(const PromptedAuthenticator &) = delete;

    bool canEvaluate(std::optional<QString> *error) override;
    // A second call while one runs is answered false at once.
    void evaluate(const QString &reason, Reply reply) override;

private:
    std::shared_ptr<CredentialPrompt> m_prompt; // owns nothing; pending hops end with it
    std::shared_ptr<AuthenticationMethod> m_method;
    std::shared_ptr<std::atomic<bool>> m_busy;
    std::weak_ptr<Conversation::Channel> m_running;
    SerialQueue m_queue; // last: its destructor waits for the running authentication
};

} // namespace veilora
