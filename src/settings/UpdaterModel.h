#pragma once

#include <QObject>

namespace veilora {

// The updater as the About tab sees it; only builds with an update feed have
// one. Main thread only.
class UpdaterModel : public QObject
{
    Q_OBJECT
public:
    virtual bool automaticallyChecksForUpdates() const = 0;
    virtual void setAutomaticallyChecksForUpdates(bool enabled) = 0;
    // A check the person asked for, with the updater's own windows.
    virtual void checkForUpdates() = 0;
};

} // namespace veilora
