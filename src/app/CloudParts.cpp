#include "CloudParts.h"

#include "settings/AppSettings.h"
#include "settings/GuardModel.h"

namespace veilora {

LiveSyncedPreferences::LiveSyncedPreferences(AppSettings &settings, GuardModel &guard, QObject *parent)
    : SyncedPreferences()
    , m_settings(settings)
    , m_guard(guard)
{
    setParent(parent);
    connect(&settings, &AppSettings::willChange, this, &SyncedPreferences::settingsWillChange);
}

std::optional<QString> LiveSyncedPreferences::languageCode() const
{
    return m_settings.languageCode();
}

void LiveSyncedPreferences::setLanguageCode(const std::optional<QString> &code)
{
    m_settings.setLanguageCode(code);
}

int LiveSyncedPreferences::graceSeconds() const
{
    return m_guard.graceSeconds();
}

void LiveSyncedPreferences::setGraceSeconds(int seconds)
{
    m_guard.setGraceSeconds(seconds);
}

CloudAccountModel::CloudAccountModel(CloudAccount &account, CloudSync &sync, QObject *parent)
    : AccountModel()
    , m_account(account)
    , m_sync(sync)
{
    setParent(parent);
    connect(&account, &CloudAccount::stateChanged, this, &AccountModel::changed);
    connect(&account, &CloudAccount::keychainAvailableChanged, this, &AccountModel::changed);
    connect(&sync, &CloudSync::enabledChanged, this, &AccountModel::changed);
    connect(&sync, &CloudSync::statusChanged, this, &AccountModel::changed);
}

AccountModel::Keyring CloudAccountModel::keyring() const
{
    const auto available = m_account.keychainAvailable();
    if (!available)
        return Keyring::unknown;
    return *available ? Keyring::available : Keyring::missing;
}

} // namespace veilora
