#include "SecretServiceStore.h"

#include "EventLog.h"

// libsecret's headers use `signals` as a field name, which Qt defines as a macro.
#undef signals
#include <libsecret/secret.h>

namespace veilora {

namespace {

const SecretSchema *schema()
{
    static const SecretSchema value = {
        SecretServiceStore::schemaName,
        SECRET_SCHEMA_NONE,
        {
            {"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
            {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
            {nullptr, SecretSchemaAttributeType(0)},
        },
        0,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
    };
    return &value;
}

// One line per failure kind is enough to tell a missing keyring from a locked one.
void logFailure(const char *operation, GError *error)
{
    if (!error)
        return;
    EventLog::write(QStringLiteral("Keyring %1 failed: %2")
                        .arg(QString::fromLatin1(operation), QString::fromUtf8(error->message)));
    g_error_free(error);
}

} // namespace

SecretServiceStore::SecretServiceStore(QString service)
    : m_service(std::move(service))
{}

SecretServiceStore &SecretServiceStore::shared()
{
    static SecretServiceStore store;
    return store;
}

std::optional<QString> SecretServiceStore::get(const QString &key)
{
    GError *error = nullptr;
    const QByteArray service = m_service.toUtf8();
    const QByteArray account = key.toUtf8();
    gchar *secret = secret_password_lookup_sync(schema(), nullptr, &error, "service", service.constData(),
                                                "account", account.constData(), nullptr);
    logFailure("read", error);
    if (!secret)
        return std::nullopt;
    const QByteArray bytes(secret);
    secret_password_free(secret);
    // Text that is not UTF-8 was not written by us; treat it as absent.
    if (!g_utf8_validate(bytes.constData(), bytes.size(), nullptr))
        return std::nullopt;
    return QString::fromUtf8(bytes);
}

void SecretServiceStore::set(const QString &key, const QString &value)
{
    GError *error = nullptr;
    const QByteArray service = m_service.toUtf8();
    const QByteArray account = key.toUtf8();
    const QByteArray label = QStringLiteral("Veilora (%1)").arg(key).toUtf8();
    const QByteArray bytes = value.toUtf8();
    // Replaces an item with the same attributes, so a key never has two items.
    secret_password_store_sync(schema(), SECRET_COLLECTION_DEFAULT, label.constData(), bytes.constData(),
                               nullptr, &error, "service", service.constData(), "account",
                               account.constData(), nullptr);
    logFailure("write", error);
}

void SecretServiceStore::remove(const QString &key)
{
    GError *error = nullptr;
    const QByteArray service = m_service.toUtf8();
    const QByteArray account = key.toUtf8();
    secret_password_clear_sync(schema(), nullptr, &error, "service", service.constData(), "account",
                               account.constData(), nullptr);
    logFailure("delete", error);
}

bool SecretServiceStore::isAvailable()
{
    GError *error = nullptr;
    SecretService *service = secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, nullptr, &error);
    logFailure("connection", error);
    if (!service)
        return false;
    g_object_unref(service);
    return true;
}

} // namespace veilora
