#pragma once

#include <functional>

class QWidget;

namespace veilora {

class AccountModel;
class AppSettings;
class CameraAuthorization;
class TesterModel;
class UpdaterModel;
class GuardModel;

// What the settings window works on, handed in by the application (or a test).
struct SettingsServices
{
    GuardModel *guard = nullptr;
    AppSettings *settings = nullptr;
    // Presents the face-enrollment sheet over the settings window (the window is
    // the parent to use). Without it the enroll button stays disabled.
    std::function<void(QWidget *settingsWindow)> presentEnrollment;
    // Whether the camera may be used, and the way to ask. Without it the
    // Permissions tab shows only its title.
    CameraAuthorization *cameraAuthorization = nullptr;
    // Explains what keeps the camera away when asking cannot help (a refusal
    // given earlier, a missing group membership), over `parent`.
    std::function<void(QWidget *parent)> showCameraHelp = {};
    // The cloud account and settings sync. Without it the Account tab shows only its title.
    AccountModel *account = nullptr;
    // Tester mode, switched by the hidden gesture on the sidebar's icon.
    TesterModel *tester = nullptr;
    // Only in builds with an update feed: the About tab's update row.
    UpdaterModel *updater = nullptr;

    bool isComplete() const { return guard && settings; }
};

} // namespace veilora
