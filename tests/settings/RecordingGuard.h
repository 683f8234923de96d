#pragma once

#include "settings/GuardModel.h"

#include <vector>

namespace veilora::test {

// The guard as the settings window sees it: records every operation the window
// asks for and publishes its new state like the real guard does.
class RecordingGuard : public GuardModel
{
    Q_OBJECT
public:
    bool enabledPref() const override { return m_enabledPref; }
    bool enrolled() const override { return m_enrolled; }
    bool cameraDenied() const override { return m_cameraDenied; }
    int graceSeconds() const override { return m_graceSeconds; }

    void setEnabled(bool on) override
    {
        enabledWrites.push_back(on);
        m_enabledPref = on;
        Q_EMIT changed();
    }
    void setGraceSeconds(int seconds) override
    {
        graceWrites.push_back(seconds);
        m_graceSeconds = seconds;
        Q_EMIT changed();
    }
    // Like the real guard: deleting the profile also switches protection off.
    void deleteEnrollment() override
    {
        ++deletions;
        m_enrolled = false;
        m_enabledPref = false;
        Q_EMIT changed();
    }

    // State changes that come from elsewhere (enrollment, sync, the camera).
    void reportEnrolled(bool enrolled)
    {
        m_enrolled = enrolled;
        Q_EMIT changed();
    }
    void reportCameraDenied(bool denied)
    {
        m_cameraDenied = denied;
        Q_EMIT changed();
    }
    void reportGraceSeconds(int seconds)
    {
        m_graceSeconds = seconds;
        Q_EMIT changed();
    }
    void reportEnabled(bool on)
    {
        m_enabledPref = on;
        Q_EMIT changed();
    }

    std::vector<bool> enabledWrites;
    std::vector<int> graceWrites;
    int deletions = 0;

private:
    bool m_enabledPref = false;
    bool m_enrolled = false;
    bool m_cameraDenied = false;
    int m_graceSeconds = 10;
};

} // namespace veilora::test
