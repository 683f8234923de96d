#pragma once

#include <functional>

namespace veilora {

class BundleInfo;

// The shell's small non-modal message windows. Each exists at most once: asking
// again raises the open one.
namespace ShellDialogs {

// The application's name and version.
void showAboutPanel(const BundleInfo &bundle);

// This desktop shows no tray, so the icon cannot appear; offers the settings.
void showNoTrayNotice(std::function<void()> openSettings);

// Camera devices exist but this account may not open them.
void showVideoGroupHint();

} // namespace ShellDialogs

} // namespace veilora
