#pragma once

#include "platform/auth/PromptedAuthenticator.h"

#include <QByteArray>

namespace veilora {

// Accepts one fixed password: a stand-in for the system's authentication stack
// where there is none (demonstrations, user-interface tests).
class FakePasswordAuthentication : public AuthenticationMethod
{
public:
    explicit FakePasswordAuthentication(QByteArray password)
        : m_password(std::move(password))
    {}

    bool canEvaluate(std::optional<QString> *) override { return true; }

    Outcome attempt(Conversation &conversation) override
    {
        std::optional<Secret> secret = conversation.askSecret(QStringLiteral("Password:"), false);
        if (!secret)
            return {Result::cancelled, QStringLiteral("cancelled")};
        if (secret->equals(m_password.constData(), static_cast<std::size_t>(m_password.size())))
            return {Result::success, std::nullopt};
        return {Result::rejected, QStringLiteral("wrong password")};
    }

private:
    QByteArray m_password;
};

} // namespace veilora
