#pragma once

#include <functional>

class QWidget;

namespace veilora {

class AppSettings;
class GuardModel;

// What the settings window works on, handed in by the application (or a test).
struct SettingsServices
{
    GuardModel *guard = nullptr;
    AppSettings *settings = nullptr;
    // Presents the face-enrollment sheet over the settings window (the window is
    // the parent to use). Without it the enroll button stays disabled.
    std::function<void(QWidget *settingsWindow)> presentEnrollment;

    bool isComplete() const { return guard && settings; }
};

} // namespace veilora
