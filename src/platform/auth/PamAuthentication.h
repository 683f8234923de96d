#pragma once

#include "PromptedAuthenticator.h"

#include <QStringList>

namespace veilora {

// Device-owner authentication through PAM for the user running the application.
//
// Uses the service "veilora" (installed with the application; it includes the
// system's common authentication stack, so fingerprint readers and the like set
// up there work too), and "login" where that file is missing. Messages of the
// stack go to the prompt; the typed secret goes to PAM and is wiped.
class PamAuthentication : public AuthenticationMethod
{
public:
    struct Options
    {
        QStringList serviceDirectories{QStringLiteral("/etc/pam.d")};
        QString service = QStringLiteral("veilora");
        QString fallbackService = QStringLiteral("login");
        QString user; // empty: the user running the process
    };

    PamAuthentication();
    explicit PamAuthentication(Options options);

    bool canEvaluate(std::optional<QString> *error) override;
    Outcome attempt(Conversation &conversation) override;

    // The service that will be used, or none when neither file exists.
    std::optional<QString> service() const;
    QString user() const { return m_user; }

private:
    Options m_options;
    QString m_user;
};

} // namespace veilora
