#include "CameraConsentQuestion.h"

#include "localization/L10n.h"

#include <QMessageBox>
#include <QPushButton>

namespace veilora {

namespace {

QString text(const char *key)
{
    return L10n::shared().string(QString::fromLatin1(key));
}

} // namespace

CameraConsentQuestion &CameraConsentQuestion::shared()
{
    static auto *question = new CameraConsentQuestion;
    return *question;
}

void CameraConsentQuestion::ask(std::function<void(bool)> answer)
{
    m_waiting.push_back(std::move(answer));
    if (m_window) {
        m_window->raise();
        m_window->activateWindow();
        return;
    }
    auto *box = new QMessageBox;
    m_window = box;
    box->setObjectName(QStringLiteral("cameraConsent"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(QStringLiteral("Veilora"));
    box->setIcon(QMessageBox::Question);
    box->setText(text("perm.consentTitle"));
    box->setInformativeText(text("perm.consentBody"));
    QPushButton *allow = box->addButton(text("onb.allow"), QMessageBox::AcceptRole);
    box->addButton(text("perm.dontAllow"), QMessageBox::RejectRole);
    box->setDefaultButton(allow);
    // `finished` also comes when the window is closed without a choice.
    connect(box, &QMessageBox::finished, this, [this, box, allow] {
        // The window lingers until its deletion; a question asked from here on opens a new one.
        m_window = nullptr;
        answerAll(box->clickedButton() == allow);
    });
    box->show();
    box->raise();
    box->activateWindow();
}

void CameraConsentQuestion::answerAll(bool granted)
{
    auto waiting = std::move(m_waiting);
    m_waiting.clear();
    for (auto &answer : waiting)
        answer(granted);
}

} // namespace veilora
