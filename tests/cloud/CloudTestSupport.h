#pragma once

#include "app/CloudParts.h"
#include "cloud/Keychain.h"
#include "platform/UserDefaults.h"
#include "settings/AppSettings.h"
#include "settings/RecordingGuard.h"
#include "support/FakeLoginItem.h"
#include "support/RealInput.h"
#include "support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <memory>

namespace veilora::test {

// Skips (or, in the test session, fails) when no keyring answers.
inline bool keyringReady()
{
    return Keychain::isAvailable();
}

inline void forgetAccount()
{
    Keychain::remove(QString::fromLatin1(Keychain::tokenKey));
    Keychain::remove(QString::fromLatin1(Keychain::emailKey));
}

// One computer's worth of settings: its own defaults file, the real application
// settings over it, a guard that records, and the two synced preferences over both.
struct Computer
{
    QTemporaryDir folder;
    UserDefaults defaults{folder.filePath(QStringLiteral("defaults.json"))};
    FakeLoginItem loginItem;
    AppSettings settings{defaults, loginItem};
    RecordingGuard guard;
    LiveSyncedPreferences preferences{settings, guard};
};

// A cloud account whose browser is the test: it keeps the pages it was asked to open.
struct AccountUnderTest
{
    std::vector<QUrl> opened;
    std::unique_ptr<CloudAccount> account = std::make_unique<CloudAccount>([this](const QUrl &url) {
        opened.push_back(url);
        return true;
    });
    std::vector<CloudAccount::State> published;

    AccountUnderTest()
    {
        QObject::connect(account.get(), &CloudAccount::stateChanged,
                         [this](const CloudAccount::State &state) { published.push_back(state); });
        // The stored account is read on the keychain worker first.
        waitUntil([this] { return account->keychainAvailable().has_value(); });
    }
};

} // namespace veilora::test

#define VEILORA_REQUIRE_KEYRING()                                                                            \
    do {                                                                                                     \
        if (!::veilora::test::keyringReady()) {                                                              \
            if (::veilora::test::inTestSession())                                                            \
                FAIL() << "no Secret Service in the test session";                                           \
            GTEST_SKIP() << "no Secret Service on this session bus";                                         \
        }                                                                                                    \
    } while (false)

// As above, and a window manager on the X display for real input.
#define VEILORA_REQUIRE_KEYRING_AND_DESKTOP()                                                                \
    do {                                                                                                     \
        VEILORA_REQUIRE_KEYRING();                                                                           \
        if (!::veilora::test::ensureWindowManager()) {                                                       \
            if (::veilora::test::inTestSession())                                                            \
                FAIL() << "the test session has an X server and openbox";                                    \
            GTEST_SKIP() << "needs an X display";                                                            \
        }                                                                                                    \
    } while (false)
