#pragma once

#include "CameraAuthorization.h"

#include <QString>
#include <QStringList>

namespace veilora {

class UserDefaults;

// Camera permission on Linux, where no system-wide prompt exists outside a sandbox.
//
// Sandboxed (Flatpak): the desktop portal's camera access decides and asks.
// Otherwise the video device nodes decide what the system allows: when camera
// nodes exist but none may be opened, access is denied (the user is usually not
// in the "video" group). Within what the system allows, the user's one-time
// consent, given in the application and kept in the defaults under
// "cameraConsent", stands for the platform's prompt.
class LinuxCameraAuthorization : public CameraAuthorization
{
public:
    // Shows the application's consent question; calls the answer once, on the main thread.
    using AskUser = std::function<void(std::function<void(bool)> answer)>;

    static constexpr const char *consentKey = "cameraConsent";

    LinuxCameraAuthorization(UserDefaults &defaults, AskUser askUser,
                             QString deviceDirectory = QStringLiteral("/dev"));

    // The application's instance, on the standard defaults. Until the user
    // interface installs its consent question with `setAskUser`, requests are
    // answered with a refusal.
    static LinuxCameraAuthorization &shared();
    void setAskUser(AskUser askUser) { m_askUser = std::move(askUser); }

    Status status() const override;
    void requestAccess(std::function<void(bool granted)> completion) override;

    // True when camera nodes exist and the system lets this user open none of them.
    bool devicesInaccessible() const;
    static bool isSandboxed();

private:
    QStringList cameraNodes() const;
    void requestThroughPortal(std::function<void(bool)> completion);

    UserDefaults &m_defaults;
    AskUser m_askUser;
    QString m_deviceDirectory;
};

} // namespace veilora
