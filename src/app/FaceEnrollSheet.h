#pragma once

#include "controls/VLDropdown.h"
#include "controls/VLPillButton.h"
#include "guard/GuardCamera.h"

#include <QDialog>

#include <memory>

namespace veilora {

class CameraPreviewView;
class FaceCamera;
class PrivacyGuard;
class ToneLabel;

// The sheet in which the user records their face: a live, mirrored preview of
// the chosen camera, the camera choice, one status line and the capture action.
// While it is open the guard samples for enrollment; once it has gone, however
// it went (Cancel, Escape, its close button, its window closing), the guard is
// back in its normal regime. It closes itself shortly after a successful
// capture and stays open after a failed one so that the user can try again.
class FaceEnrollSheet : public QDialog
{
    Q_OBJECT
public:
    enum class Phase
    {
        preview,
        capturing,
        done,
        noFace
    };

    static constexpr int closeDelayMs = 900;
    // A camera that shows nothing for this long is taken to be busy or broken.
    static constexpr int pictureWaitMs = 4000;

    // `previewCamera` supplies the picture; the guard decides which camera that is.
    FaceEnrollSheet(PrivacyGuard &guard, FaceCamera *previewCamera, QWidget *window);
    ~FaceEnrollSheet() override;

    // Opens the sheet over `window` (the settings window), or brings forward the
    // one already open there, on the application's guard and camera.
    static void present(QWidget *window);

    Phase phase() const { return m_phase; }
    void runCapture();

    CameraPreviewView *preview() const { return m_preview; }
    PillButton *captureButton() const { return m_capture->button(); }
    PillButton *cancelButton() const { return m_cancel->button(); }
    PulldownPill *cameraPicker() const { return m_camera->pill(); }
    ToneLabel *statusLabel() const { return m_status; }

protected:
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void setPhase(Phase phase);
    void refresh();
    void endPreview();
    VLDropdown<QString> cameraDropdownValue(const std::vector<CameraOption> &options) const;

    PrivacyGuard &m_guard;
    Phase m_phase = Phase::preview;
    bool m_previewActive = false;
    bool m_pictureOverdue = false;
    ToneLabel *m_title = nullptr;
    CameraPreviewView *m_preview = nullptr;
    ToneLabel *m_cameraLabel = nullptr;
    std::unique_ptr<VLDropdown<QString>::View> m_camera;
    ToneLabel *m_status = nullptr;
    std::unique_ptr<VLPillButton::View> m_cancel;
    std::unique_ptr<VLPillButton::View> m_capture;
};

} // namespace veilora
