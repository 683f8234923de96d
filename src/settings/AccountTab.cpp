#include "AccountTab.h"

#include "AccountModel.h"
#include "FooterNote.h"
#include "SettingsCard.h"
#include "SettingsRow.h"
#include "ToggleSwitch.h"
#include "localization/L10n.h"

#include <QVBoxLayout>

namespace veilora {

namespace {

QString text(const char *key)
{
    return L10n::shared().string(QString::fromLatin1(key));
}

} // namespace

AccountTab::AccountTab(SettingsServices services, QWidget *parent)
    : QWidget(parent)
    , m_services(std::move(services))
{
    Q_ASSERT(m_services.account);
    AccountModel *account = m_services.account;
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto *card = new SettingsCard;
    m_signedOutRow = new SettingsRow(QString(), QString());
    m_signIn = std::make_unique<VLPillButton::View>(
        VLPillButton{QString(), true, [account] { account->signIn(); }}, m_signedOutRow);
    m_signIn->button()->setFixedHeight(buttonHeight);
    m_signedOutRow->addControl(m_signIn->button());
    card->addRow(m_signedOutRow);

    m_signedInRow = new SettingsRow(QString(), std::nullopt, QFont::DemiBold);
    m_signOut = std::make_unique<VLPillButton::View>(
        VLPillButton{QString(), false, [account] { account->signOut(); }}, m_signedInRow);
    m_signOut->button()->setFixedHeight(buttonHeight);
    m_signedInRow->addControl(m_signOut->button());
    card->addRow(m_signedInRow);

    m_syncDivider = card->addDivider();
    m_syncRow = new SettingsRow(QString(), QString());
    m_syncSwitch = new ToggleSwitch;
    connect(m_syncSwitch, &QAbstractButton::toggled, this,
            [account](bool on) { account->setSyncEnabled(on); });
    m_syncRow->addLabelledControl(m_syncSwitch);
    card->addRow(m_syncRow);
    layout->addWidget(card);

    m_footer = new FooterNote(QString());
    layout->addWidget(m_footer);

    connect(account, &AccountModel::changed, this, &AccountTab::refresh);
    connect(&L10n::shared(), &L10n::languageChanged, this, &AccountTab::refresh);
    refresh();
}

AccountTab::~AccountTab() = default;

void AccountTab::refresh()
{
    AccountModel *account = m_services.account;
    const bool noKeyring = account->keyring() == AccountModel::Keyring::missing;
    const bool signedIn = account->signedIn() && !noKeyring;

    // Signing in without a keyring would end signed out again at once; say why instead.
    m_signedOutRow->setVisible(!signedIn);
    m_signedOutRow->setTitle(text(noKeyring ? "acct.noKeyringTitle" : "acct.signedOutTitle"));
    m_signedOutRow->setSubtitle(text(noKeyring ? "acct.noKeyringBody" : "acct.signedOutBody"));
    m_signIn->update({text("acct.signIn"), true, [account] { account->signIn(); }});
    m_signIn->button()->setVisible(!noKeyring);

    m_signedInRow->setVisible(signedIn);
    m_signedInRow->setTitle(account->email().isEmpty() ? text("acct.signedIn") : account->email());
    m_signOut->update({text("acct.signOut"), false, [account] { account->signOut(); }});

    m_syncDivider->setVisible(signedIn);
    m_syncRow->setVisible(signedIn);
    m_syncRow->setTitle(text("acct.sync"));
    m_syncRow->setSubtitle(text(account->syncFailed() ? "acct.syncError" : "acct.syncBody"));
    m_syncSwitch->showChecked(account->syncEnabled());
    m_footer->setText(text("acct.footer"));
}

} // namespace veilora
