#pragma once

#include <functional>

namespace veilora {

// The announcement of the shield going up or down, for other processes.
namespace PrivacyShield {
inline constexpr const char *changeNote = "com.norvane.privacy-shield.changed";
}

// What the presence guard needs of the screen shield: put it up, take it down,
// and be told when the user asks to unlock. Main thread only.
class ShieldPresenter
{
public:
    virtual ~ShieldPresenter() = default;

    virtual void show() = 0;
    virtual void hide() = 0;

    // Called when the user presses the unlock control; read at press time.
    std::function<void()> onUnlockRequested;
};

} // namespace veilora
