#pragma once

#include <QString>

#include <optional>

namespace veilora {

// Short secrets of the current user (the sign-in token and what goes with it),
// one UTF-8 string per key, kept by the desktop's keyring. Every call may block
// while the keyring answers, unlocks or asks the user, so callers keep these
// calls off the GUI thread. Failures are not reported: a read that fails yields
// nothing, a write or delete that fails leaves what was there.
class SecretStore
{
public:
    virtual ~SecretStore() = default;

    virtual std::optional<QString> get(const QString &key) = 0;
    // Stores or replaces; an empty string is a value of its own.
    virtual void set(const QString &key, const QString &value) = 0;
    virtual void remove(const QString &key) = 0;
    // Whether a keyring answers at all. Without one nothing can be kept.
    virtual bool isAvailable() = 0;
};

} // namespace veilora
