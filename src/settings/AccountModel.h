#pragma once

#include <QObject>
#include <QString>

namespace veilora {

// The cloud account and settings sync as the Account tab sees them. The
// application hands in the real ones. Main thread only.
class AccountModel : public QObject
{
    Q_OBJECT
public:
    enum class Keyring
    {
        unknown, // not asked yet
        available,
        missing, // no Secret Service answers: nothing could be kept
    };

    virtual Keyring keyring() const = 0;
    virtual bool signedIn() const = 0;
    virtual QString email() const = 0;
    virtual bool syncEnabled() const = 0;
    // The last upload or download failed (until the next one begins).
    virtual bool syncFailed() const = 0;

    virtual void signIn() = 0;
    virtual void signOut() = 0;
    virtual void setSyncEnabled(bool enabled) = 0;

Q_SIGNALS:
    // After any of the values above changed (or was published again).
    void changed();
};

} // namespace veilora
