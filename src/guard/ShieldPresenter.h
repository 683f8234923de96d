#pragma once

#include <functional>

namespace veilora {

// What the presence guard needs of whatever covers the screens: put it up, take
// it down, and be told when the user asks to unlock. The application hands in
// the real shield. Main thread only.
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
