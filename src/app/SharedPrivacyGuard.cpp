// The application's guard and the real parts it runs with. They are made once, on
// first use from the main thread, and live as long as the process. The guard
// knows none of them by name: this is where they meet.
#include "guard/LiveGuardCamera.h"
#include "guard/PrivacyGuard.h"
#include "guard/ShieldPresenter.h"
#include "localization/L10n.h"
#include "platform/LinuxCameraAuthorization.h"
#include "platform/auth/PamAuthentication.h"
#include "platform/auth/PromptedAuthenticator.h"
#include "platform/display/LinuxDisplayServices.h"
#include "shield/PrivacyOverlayController.h"

namespace veilora {

namespace {

// The screen shield as the guard drives it.
class OverlayPresenter : public ShieldPresenter
{
public:
    explicit OverlayPresenter(PrivacyOverlayController &overlay)
        : m_overlay(overlay)
    {
        m_overlay.onUnlockRequested = [this] {
            if (auto callback = onUnlockRequested)
                callback();
        };
    }

    void show() override { m_overlay.show(); }
    void hide() override { m_overlay.hide(); }

private:
    PrivacyOverlayController &m_overlay;
};

} // namespace

PrivacyGuard &PrivacyGuard::shared()
{
    struct Parts
    {
        LiveGuardCamera camera;
        PrivacyOverlayController overlay;
        OverlayPresenter presenter{overlay};
        PromptedAuthenticator authenticator{overlay.credentialPrompt(),
                                            std::make_shared<PamAuthentication>()};
        LinuxDisplayServices displays;
    };
    static Parts *parts = new Parts; // never destroyed: threads and windows die with the process
    static PrivacyGuard *guard =
        new PrivacyGuard({&parts->camera, &parts->presenter, &parts->authenticator,
                          &LinuxCameraAuthorization::shared(), &parts->displays, &Clock::system(),
                          [] { return L10n::shared().string(QStringLiteral("ov.reason")); }});
    return *guard;
}

} // namespace veilora
