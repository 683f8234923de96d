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

// A stand-in whose answers the test decides; requests wait until `answer()`.
class FakeCameraAuthorization : public CameraAuthorization
{
public:
    Status status() const override { return current; }
    void requestAccess(std::function<void(bool)> completion) override
    {
        waiting.push_back(std::move(completion));
    }

    // Answers every open request, updating the status as the platform would.
    void answer(bool granted)
    {
        current = granted ? Status::authorized : Status::denied;
        auto open = std::move(waiting);
        waiting.clear();
        for (auto &completion : open)
            completion(granted);
    }

    Status current = Status::authorized;
    std::vector<std::function<void(bool)>> waiting;
};

} // namespace veilora
