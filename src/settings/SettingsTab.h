#pragma once

namespace veilora {

// The tabs of the settings window, in sidebar order.
enum class SettingsTab
{
    general,
    permissions,
    account,
    about
};

} // namespace veilora
