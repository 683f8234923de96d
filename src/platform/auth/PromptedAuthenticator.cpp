#include "PromptedAuthenticator.h"

#include "platform/EventLog.h"
#include "platform/MainThread.h"

#include <condition_variable>
#include <mutex>

namespace veilora {

struct Conversation::Channel
{
    std::weak_ptr<CredentialPrompt> prompt;
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<Secret> answer;
    bool cancelled = false;

    void cancel()
    {
        {
            std::lock_guard lock(mutex);
            cancelled = true;
            answer.reset();
        }
        changed.notify_all();
    }

    void deliver(Secret secret)
    {
        {
            std::lock_guard lock(mutex);
            if (!cancelled)
                answer = std::move(secret);
        }
        changed.notify_all();
    }

    template <typename F>
    void toPrompt(F &&work)
    {
        runOnMain(prompt, [work = std::forward<F>(work)](CredentialPrompt *alive) mutable { work(*alive); });
    }
};

Conversation::Conversation(std::shared_ptr<Channel> channel)
    : m_channel(std::move(channel))
{}

std::optional<Secret> Conversation::askSecret(const QString &message, bool echo)
{
    {
        std::lock_guard lock(m_channel->mutex);
        if (m_channel->cancelled)
            return std::nullopt;
        m_channel->answer.reset();
    }
    std::weak_ptr<Channel> weak = m_channel;
    m_channel->toPrompt([message, echo, weak](CredentialPrompt &prompt) {
        prompt.askSecret(message, echo, [weak](Secret secret) {
            if (auto channel = weak.lock())
                channel->deliver(std::move(secret));
        });
    });
    std::unique_lock lock(m_channel->mutex);
    m_channel->changed.wait(lock, [this] { return m_channel->cancelled || m_channel->answer.has_value(); });
    if (m_channel->cancelled)
        return std::nullopt;
    return std::exchange(m_channel->answer, std::nullopt);
}

void Conversation::tell(const QString &text, CredentialPrompt::MessageKind kind)
{
    m_channel->toPrompt([text, kind](CredentialPrompt &prompt) { prompt.showMessage(text, kind); });
}

bool Conversation::isCancelled() const
{
    std::lock_guard lock(m_channel->mutex);
    return m_channel->cancelled;
}

PromptedAuthenticator::PromptedAuthenticator(CredentialPrompt &prompt,
                                             std::shared_ptr<AuthenticationMethod> method)
    : m_prompt(&prompt, [](CredentialPrompt *) {})
    , m_method(std::move(method))
    , m_busy(std::make_shared<std::atomic<bool>>(false))
    , m_queue(QStringLiteral("com.norvane.authentication"))
{}

PromptedAuthenticator::~PromptedAuthenticator()
{
    if (auto running = m_running.lock())
        running->cancel();
    m_prompt.reset();
}

bool PromptedAuthenticator::canEvaluate(std::optional<QString> *error)
{
    return m_method->canEvaluate(error);
}

void PromptedAuthenticator::evaluate(const QString &reason, Reply reply)
{
    if (m_busy->exchange(true)) {
        reply(false, QStringLiteral("an authentication is already in progress"));
        return;
    }
    auto channel = std::make_shared<Conversation::Channel>();
    channel->prompt = m_prompt;
    m_running = channel;

    std::weak_ptr<Conversation::Channel> weak = channel;
    channel->toPrompt([reason, weak](CredentialPrompt &prompt) {
        prompt.open(reason, [weak] {
            if (auto alive = weak.lock())
                alive->cancel();
        });
    });

    // Holds only shared state, never `this`: the queue may still be finishing
    // this item while the authenticator is being destroyed.
    m_queue.async([channel, method = m_method, busy = m_busy, reply = std::move(reply)] {
        using Result = AuthenticationMethod::Result;
        Conversation conversation(channel);
        AuthenticationMethod::Outcome outcome;
        for (int attempt = 1; attempt <= maxAttempts; ++attempt) {
            outcome = method->attempt(conversation);
            if (conversation.isCancelled())
                outcome = {Result::cancelled, QStringLiteral("cancelled")};
            if (outcome.result != Result::rejected)
                break;
            if (attempt < maxAttempts)
                channel->toPrompt([](CredentialPrompt &prompt) { prompt.reject(); });
        }
        if (outcome.result == Result::failed)
            EventLog::write(QStringLiteral("auth: ") + outcome.error.value_or(QStringLiteral("failed")));
        channel->toPrompt([](CredentialPrompt &prompt) { prompt.close(); });
        busy->store(false);
        reply(outcome.result == Result::success, outcome.error);
    });
}

} // namespace veilora
