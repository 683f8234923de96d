#include "Keychain.h"

#include "platform/SecretServiceStore.h"
#include "platform/SerialQueue.h"

#include <QUuid>

namespace veilora::Keychain {

namespace {

SecretStore &store()
{
    return SecretServiceStore::shared();
}

SerialQueue &queue()
{
    static SerialQueue queue(QStringLiteral("com.norvane.cloud.keychain"));
    return queue;
}

} // namespace

std::optional<QString> get(const QString &key)
{
    return store().get(key);
}

void set(const std::optional<QString> &value, const QString &key)
{
    if (!value) {
        remove(key);
        return;
    }
    store().set(key, *value);
}

void remove(const QString &key)
{
    store().remove(key);
}

bool isAvailable()
{
    return store().isAvailable();
}

QString deviceID()
{
    const QString key = QString::fromLatin1(deviceIDKey);
    if (const auto stored = get(key))
        return *stored;
    const QString made = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    set(made, key);
    return made;
}

void enqueue(std::function<void()> work)
{
    queue().async(std::move(work));
}

} // namespace veilora::Keychain
