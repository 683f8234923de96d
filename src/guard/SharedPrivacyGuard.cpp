// The application's guard and the real parts it runs with. They are made once, on
// first use from the main thread, and live as long as the process.
#include "guard/LiveGuardCamera.h"
#include "guard/PrivacyGuard.h"
#include "platform/LinuxCameraAuthorization.h"
#include "platform/auth/PamAuthentication.h"
#include "platform/auth/PromptedAuthenticator.h"
#include "platform/display/LinuxDisplayServices.h"
#include "shield/PrivacyOverlayController.h"

namespace veilora {

PrivacyGuard &PrivacyGuard::shared()
{
    struct Parts
    {
        LiveGuardCamera camera;
        PrivacyOverlayController overlay;
        PromptedAuthenticator authenticator{overlay.credentialPrompt(),
                                            std::make_shared<PamAuthentication>()};
        LinuxDisplayServices displays;
    };
    static Parts *parts = new Parts; // never destroyed: threads and windows die with the process
    static PrivacyGuard *guard =
        new PrivacyGuard({&parts->camera, &parts->overlay, &parts->authenticator,
                          &LinuxCameraAuthorization::shared(), &parts->displays, &Clock::system()});
    return *guard;
}

} // namespace veilora
