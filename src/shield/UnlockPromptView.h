#pragma once

#include "platform/auth/CredentialPrompt.h"

#include <QWidget>

class QLabel;

namespace veilora {

class SecretField;

// The panel of the password prompt: why it asks, what the authentication stack
// asks for, the field, and the stack's latest message.
class UnlockPromptView : public QWidget
{
    Q_OBJECT

public:
    static constexpr QSize size{340, 150};

    explicit UnlockPromptView(QWidget *parent = nullptr);

    void setReason(const QString &reason);
    void setRequest(const QString &message);
    void setMessage(const QString &text, CredentialPrompt::MessageKind kind);
    SecretField *field() const { return m_field; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QLabel *m_reason;
    QLabel *m_request;
    SecretField *m_field;
    QLabel *m_message;
};

} // namespace veilora
