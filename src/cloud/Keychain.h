#pragma once

#include "platform/MainThread.h"

#include <QPointer>
#include <QString>

#include <functional>
#include <optional>

namespace veilora {

// The application's small secure string store: per key one short UTF-8 string
// in the desktop's keyring. No state of its own; every call goes to the keyring.
// Nothing else keeps these values, and they never reach the user defaults.
//
// The keyring may be slow, locked or asking the user to unlock it, so the three
// operations block and belong off the GUI thread: the cloud classes run them on
// one serial worker through `async`, which also keeps their order.
namespace Keychain {

inline constexpr const char *tokenKey = "cloudToken";
inline constexpr const char *emailKey = "cloudEmail";
inline constexpr const char *deviceIDKey = "cloudDeviceID";

std::optional<QString> get(const QString &key);
// Stores, replaces, or (for nothing) deletes.
void set(const std::optional<QString> &value, const QString &key);
void remove(const QString &key);

// Whether a keyring answers at all; without one the account stays signed out.
bool isAvailable();

// The device identifier, made and stored on first need: an upper-case UUID.
QString deviceID();

// Runs `work` on the keychain worker, after everything queued before it.
void enqueue(std::function<void()> work);

// Runs `work` on the keychain worker, then `done(result)` on the main thread if
// `owner` still exists.
template <typename T, typename Work, typename Done>
void async(T *owner, Work work, Done done)
{
    enqueue([owner = QPointer<T>(owner), work = std::move(work), done = std::move(done)]() mutable {
        auto result = work();
        runOnMain(owner, [result = std::move(result), done = std::move(done)](T *) mutable {
            done(std::move(result));
        });
    });
}

} // namespace Keychain

} // namespace veilora
