#pragma once

#include <functional>
#include <vector>

namespace veilora {

// Whether this application may use the camera, and a way to ask the user.
class CameraAuthorization
{
public:
    enum class Status
    {
        notDetermined,
        restricted,
        denied,
        authorized
    };

    virtual ~CameraAuthorization() = default;

    virtual Status status() const = 0;

    // Asks once; `completion(granted)` may run on any thread.
    virtual void requestAccess(std::function<void(bool granted)> completion) = 0;
};

} // namespace veilora
