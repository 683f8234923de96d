#include "PamAuthentication.h"

#include <QFileInfo>

#include <cstdlib>
#include <cstring>
#include <pwd.h>
#include <security/pam_appl.h>
#include <unistd.h>
#include <vector>

namespace veilora {

namespace {

QString currentUser()
{
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd *found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return {};
    return QString::fromLocal8Bit(found->pw_name);
}

void freeResponses(pam_response *responses, int count)
{
    if (!responses)
        return;
    for (int i = 0; i < count; ++i) {
        if (char *text = responses[i].resp) {
            wipeMemory(text, std::strlen(text));
            std::free(text);
        }
    }
    std::free(responses);
}

// The PAM conversation, on the authenticator's worker thread.
int converse(int count, const pam_message **messages, pam_response **out, void *data)
{
    auto *conversation = static_cast<Conversation *>(data);
    if (count <= 0 || count > PAM_MAX_NUM_MSG || !out)
        return PAM_CONV_ERR;
    auto *responses =
        static_cast<pam_response *>(std::calloc(static_cast<size_t>(count), sizeof(pam_response)));
    if (!responses)
        return PAM_BUF_ERR;
    for (int i = 0; i < count; ++i) {
        const pam_message *message = messages[i];
        const QString text = QString::fromLocal8Bit(message->msg ? message->msg : "").trimmed();
        switch (message->msg_style) {
        case PAM_PROMPT_ECHO_OFF:
        case PAM_PROMPT_ECHO_ON: {
            std::optional<Secret> secret =
                conversation->askSecret(text, message->msg_style == PAM_PROMPT_ECHO_ON);
            if (!secret || !(responses[i].resp = secret->releaseCopy())) {
                freeResponses(responses, count);
                return PAM_CONV_ERR;
            }
            break;
        }
        case PAM_ERROR_MSG:
            conversation->tell(text, CredentialPrompt::MessageKind::error);
            break;
        case PAM_TEXT_INFO:
            conversation->tell(text, CredentialPrompt::MessageKind::info);
            break;
        default:
            freeResponses(responses, count);
            return PAM_CONV_ERR;
        }
    }
    *out = responses;
    return PAM_SUCCESS;
}

QString pamError(pam_handle_t *handle, int code)
{
    return QString::fromLocal8Bit(pam_strerror(handle, code));
}

} // namespace

PamAuthentication::PamAuthentication()
    : PamAuthentication(Options())
{}

PamAuthentication::PamAuthentication(Options options)
    : m_options(std::move(options))
    , m_user(m_options.user.isEmpty() ? currentUser() : m_options.user)
{}

std::optional<QString> PamAuthentication::service() const
{
    // PAM itself would quietly use the "other" service for a missing file, which
    // usually denies everything; choosing here keeps that from looking like a
    // wrong password.
    for (const QString &name : {m_options.service, m_options.fallbackService}) {
        for (const QString &directory : m_options.serviceDirectories) {
            if (QFileInfo(directory + QLatin1Char('/') + name).isFile())
                return name;
        }
    }
    return std::nullopt;
}

bool PamAuthentication::canEvaluate(std::optional<QString> *error)
{
    auto fail = [error](QString reason) {
        if (error)
            *error = std::move(reason);
        return false;
    };
    if (m_user.isEmpty())
        return fail(QStringLiteral("the user running the application has no account entry"));
    const std::optional<QString> name = service();
    if (!name) {
        return fail(QStringLiteral("no PAM service \"%1\" or \"%2\" in %3")
                        .arg(m_options.service, m_options.fallbackService,
                             m_options.serviceDirectories.join(QStringLiteral(", "))));
    }
    const pam_conv none{[](int, const pam_message **, pam_response **, void *) { return PAM_CONV_ERR; },
                        nullptr};
    pam_handle_t *handle = nullptr;
    const int started =
        pam_start(name->toLocal8Bit().constData(), m_user.toLocal8Bit().constData(), &none, &handle);
    if (started != PAM_SUCCESS) {
        const QString reason = pamError(handle, started);
        pam_end(handle, started);
        return fail(QStringLiteral("PAM: ") + reason);
    }
    pam_end(handle, PAM_SUCCESS);
    return true;
}

AuthenticationMethod::Outcome PamAuthentication::attempt(Conversation &conversation)
{
    const std::optional<QString> name = service();
    if (!name)
        return {Result::failed, QStringLiteral("no PAM service")};
    const pam_conv conv{converse, &conversation};
    pam_handle_t *handle = nullptr;
    int code = pam_start(name->toLocal8Bit().constData(), m_user.toLocal8Bit().constData(), &conv, &handle);
    if (code != PAM_SUCCESS) {
        const QString reason = pamError(handle, code);
        pam_end(handle, code);
        return {Result::failed, reason};
    }
    // Some stacks (pam_securetty, pam_access) look at the terminal; a graphical
    // session's is its display, as for screen lockers.
    const QByteArray display = qgetenv("DISPLAY");
    if (!display.isEmpty())
        pam_set_item(handle, PAM_TTY, display.constData());

    code = pam_authenticate(handle, 0);
    if (code == PAM_SUCCESS) {
        // An expired password still proves who is at the keyboard: this is an
        // unlock, not a log-in, so a required change does not stand in the way.
        code = pam_acct_mgmt(handle, 0);
        if (code == PAM_NEW_AUTHTOK_REQD)
            code = PAM_SUCCESS;
    }
    Outcome outcome;
    if (code == PAM_SUCCESS)
        outcome = {Result::success, std::nullopt};
    else if (code == PAM_AUTH_ERR)
        outcome = {Result::rejected, pamError(handle, code)};
    else
        outcome = {Result::failed, QStringLiteral("PAM %1: %2").arg(*name, pamError(handle, code))};
    // pam_end wipes the copy of the secret PAM kept (PAM_AUTHTOK).
    pam_end(handle, code);
    return outcome;
}

} // namespace veilora
