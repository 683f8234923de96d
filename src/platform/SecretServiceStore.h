#pragma once

#include "SecretStore.h"

namespace veilora {

// The freedesktop Secret Service (GNOME Keyring, KWallet) through libsecret.
// Every item carries two attributes: "service", the same fixed string for all
// of this application's items, and "account", the caller's key. Items of other
// services are never seen, and ours are never confused with theirs.
class SecretServiceStore : public SecretStore
{
public:
    static constexpr const char *serviceName = "com.norvane.Veilora.cloud";
    static constexpr const char *schemaName = "com.norvane.Veilora.Secret";

    explicit SecretServiceStore(QString service = QString::fromLatin1(serviceName));

    static SecretServiceStore &shared();

    std::optional<QString> get(const QString &key) override;
    void set(const QString &key, const QString &value) override;
    void remove(const QString &key) override;
    bool isAvailable() override;

private:
    QString m_service;
};

} // namespace veilora
