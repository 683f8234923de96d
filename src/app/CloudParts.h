#pragma once

#include "cloud/CloudAccount.h"
#include "cloud/CloudSync.h"
#include "cloud/SyncedPreferences.h"
#include "settings/AccountModel.h"

namespace veilora {

class AppSettings;
class GuardModel;

// The application settings' language and the guard's grace delay, as settings
// sync reads and writes them.
class LiveSyncedPreferences : public SyncedPreferences
{
    Q_OBJECT
public:
    LiveSyncedPreferences(AppSettings &settings, GuardModel &guard, QObject *parent = nullptr);

    std::optional<QString> languageCode() const override;
    void setLanguageCode(const std::optional<QString> &code) override;
    int graceSeconds() const override;
    void setGraceSeconds(int seconds) override;

private:
    AppSettings &m_settings;
    GuardModel &m_guard;
};

// The cloud account and settings sync as the Account tab sees them.
class CloudAccountModel : public AccountModel
{
    Q_OBJECT
public:
    CloudAccountModel(CloudAccount &account, CloudSync &sync, QObject *parent = nullptr);

    Keyring keyring() const override;
    bool signedIn() const override { return m_account.state().signedIn; }
    QString email() const override { return m_account.state().email; }
    bool syncEnabled() const override { return m_sync.enabled(); }
    bool syncFailed() const override { return m_sync.status() == CloudSync::Status::error; }

    void signIn() override { m_account.signIn(); }
    void signOut() override { m_account.signOut(); }
    void setSyncEnabled(bool enabled) override { m_sync.setEnabled(enabled); }

private:
    CloudAccount &m_account;
    CloudSync &m_sync;
};

} // namespace veilora
