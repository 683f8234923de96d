#pragma once

#include "app/CameraAccessHelpLauncher.h"

#include <QSet>

#include <functional>
#include <vector>

namespace veilora {

// Runs nothing: records each program the camera help would start, and lets the
// test decide which programs exist and how runs end.
class FakeCameraAccessHelpLauncher : public CameraAccessHelpLauncher
{
public:
    struct Call
    {
        QString program;
        QStringList arguments;
        bool operator==(const Call &) const = default;
    };

    bool exists(const QString &program) const override { return installed.contains(program); }

    void run(const QString &program, const QStringList &arguments,
             std::function<void(bool)> finished) override
    {
        runs.push_back({program, arguments});
        running.push_back(std::move(finished));
    }

    bool startDetached(const QString &program, const QStringList &arguments) override
    {
        detached.push_back({program, arguments});
        return startSucceeds;
    }

    // Ends every run still going, as the programs would.
    void finish(bool succeeded)
    {
        auto open = std::move(running);
        running.clear();
        for (auto &finished : open)
            finished(succeeded);
    }

    QSet<QString> installed;
    bool startSucceeds = true;
    std::vector<Call> runs;
    std::vector<Call> detached;
    std::vector<std::function<void(bool)>> running;
};

} // namespace veilora
