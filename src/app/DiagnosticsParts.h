#pragma once

#include "diagnostics/TesterMode.h"
#include "diagnostics/UpdaterController.h"
#include "settings/TesterModel.h"
#include "settings/UpdaterModel.h"

namespace veilora {

// Tester mode as the settings sidebar's icon sees it.
class TesterModeModel : public TesterModel
{
    Q_OBJECT
public:
    explicit TesterModeModel(TesterMode &mode, QObject *parent = nullptr)
        : m_mode(mode)
    {
        setParent(parent);
        connect(&mode, &TesterMode::enabledChanged, this, &TesterModel::changed);
    }

    bool enabled() const override { return m_mode.enabled(); }
    void toggle() override { m_mode.toggle(); }

private:
    TesterMode &m_mode;
};

// The updater as the About tab sees it.
class UpdaterControllerModel : public UpdaterModel
{
    Q_OBJECT
public:
    explicit UpdaterControllerModel(UpdaterController &updater, QObject *parent = nullptr)
        : m_updater(updater)
    {
        setParent(parent);
    }

    bool automaticallyChecksForUpdates() const override { return m_updater.automaticallyChecksForUpdates(); }
    void setAutomaticallyChecksForUpdates(bool enabled) override
    {
        m_updater.setAutomaticallyChecksForUpdates(enabled);
    }
    void checkForUpdates() override { m_updater.checkForUpdates(); }

private:
    UpdaterController &m_updater;
};

} // namespace veilora
