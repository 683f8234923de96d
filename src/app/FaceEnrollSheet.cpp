#include "FaceEnrollSheet.h"

#include "CameraPreviewView.h"
#include "guard/LiveGuardCamera.h"
#include "guard/PrivacyGuard.h"
#include "localization/L10n.h"
#include "settings/Theme.h"
#include "settings/ToneLabel.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPointer>
#include <QTimer>
#include <QVBoxLayout>

namespace veilora {

namespace {

QString text(const char *key)
{
    return L10n::shared().string(QString::fromLatin1(key));
}

constexpr int cameraPickerWidth = 230;
constexpr int cameraPickerHeight = 28;
constexpr int buttonHeight = 30;
constexpr int statusMinimumHeight = 28;

} // namespace

FaceEnrollSheet::FaceEnrollSheet(PrivacyGuard &guard, FaceCamera *previewCamera, QWidget *window)
    : QDialog(window)
    , m_guard(guard)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowModality(Qt::WindowModal);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 24, 24, 24);
    layout->setSpacing(14);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    m_title = new ToneLabel(QString(), 15, QFont::DemiBold, Theme::Tone::primary);
    layout->addWidget(m_title, 0, Qt::AlignHCenter);

    m_preview = new CameraPreviewView;
    layout->addWidget(m_preview, 0, Qt::AlignHCenter);

    auto *cameraRow = new QHBoxLayout;
    cameraRow->setSpacing(8);
    m_cameraLabel = new ToneLabel(QString(), 12, QFont::Normal, Theme::Tone::secondary);
    m_camera = std::make_unique<VLDropdown<QString>::View>(cameraDropdownValue({}), this);
    m_camera->pill()->setFixedSize(cameraPickerWidth, cameraPickerHeight);
    cameraRow->addStretch();
    cameraRow->addWidget(m_cameraLabel);
    cameraRow->addWidget(m_camera->pill());
    cameraRow->addStretch();
    layout->addLayout(cameraRow);

    m_status = new ToneLabel(QString(), 12, QFont::Normal, Theme::Tone::secondary);
    m_status->setAlignment(Qt::AlignCenter);
    m_status->setWordWrap(true);
    m_status->setMinimumHeight(statusMinimumHeight);
    // As wide as the preview, so that a long message wraps instead of widening the sheet.
    m_status->setFixedWidth(m_preview->width());
    layout->addWidget(m_status, 0, Qt::AlignHCenter);

    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(10);
    m_cancel =
        std::make_unique<VLPillButton::View>(VLPillButton{QString(), false, [this] { reject(); }}, this);
    m_capture =
        std::make_unique<VLPillButton::View>(VLPillButton{QString(), true, [this] { runCapture(); }}, this);
    buttons->addStretch();
    for (PillButton *button : {m_cancel->button(), m_capture->button()}) {
        button->setFixedHeight(buttonHeight);
        buttons->addWidget(button);
    }
    buttons->addStretch();
    layout->addLayout(buttons);

    if (previewCamera) {
        // Frames come on the camera's thread; the queued connection carries each
        // to the main thread and is cut when the preview goes.
        connect(previewCamera, &FaceCamera::frameDelivered, m_preview, &CameraPreviewView::showFrame,
                Qt::QueuedConnection);
    }
    connect(&guard, &PrivacyGuard::selectedCameraIDChanged, this, &FaceEnrollSheet::refresh);
    connect(&guard, &PrivacyGuard::cameraDeniedChanged, this, &FaceEnrollSheet::refresh);
    connect(&L10n::shared(), &L10n::languageChanged, this, &FaceEnrollSheet::refresh);
    connect(this, &QDialog::finished, this, &FaceEnrollSheet::endPreview);
    if (window)
        window->installEventFilter(this);
    refresh();
}

FaceEnrollSheet::~FaceEnrollSheet()
{
    endPreview();
}

void FaceEnrollSheet::present(QWidget *window)
{
    if (window) {
        if (auto *open = window->findChild<FaceEnrollSheet *>(QString(), Qt::FindDirectChildrenOnly);
            open && open->isVisible()) {
            open->raise();
            open->activateWindow();
            return;
        }
    }
    PrivacyGuard &guard = PrivacyGuard::shared();
    auto *live = dynamic_cast<LiveGuardCamera *>(&guard.camera());
    auto *sheet = new FaceEnrollSheet(guard, live ? &live->faceCamera() : nullptr, window);
    sheet->open();
}

void FaceEnrollSheet::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    if (m_previewActive)
        return;
    m_previewActive = true;
    // The sheet is there to capture: Space or Return starts it.
    m_capture->button()->setFocus();
    m_guard.beginEnrollmentPreview();
    QTimer::singleShot(pictureWaitMs, this, [this] {
        m_pictureOverdue = true;
        refresh();
    });
    refresh();
}

bool FaceEnrollSheet::eventFilter(QObject *watched, QEvent *event)
{
    // The sheet belongs to its window: it goes when the window closes or hides.
    if (watched == parent() && (event->type() == QEvent::Close || event->type() == QEvent::Hide) &&
        isVisible())
        reject();
    return QDialog::eventFilter(watched, event);
}

void FaceEnrollSheet::endPreview()
{
    if (!m_previewActive)
        return;
    m_previewActive = false;
    m_guard.endEnrollmentPreview();
}

void FaceEnrollSheet::runCapture()
{
    if (m_phase == Phase::capturing || m_phase == Phase::done)
        return;
    setPhase(Phase::capturing);
    m_guard.captureEnrollment([sheet = QPointer<FaceEnrollSheet>(this)](PrivacyGuard::EnrollOutcome outcome) {
        // A sheet closed during the capture has nothing left to show.
        if (!sheet || !sheet->isVisible())
            return;
        if (std::holds_alternative<int>(outcome)) {
            sheet->setPhase(Phase::done);
            QTimer::singleShot(closeDelayMs, sheet, [sheet] {
                if (sheet->isVisible())
                    sheet->accept();
            });
        } else {
            sheet->setPhase(Phase::noFace);
        }
    });
}

void FaceEnrollSheet::setPhase(Phase phase)
{
    m_phase = phase;
    refresh();
}

VLDropdown<QString> FaceEnrollSheet::cameraDropdownValue(const std::vector<CameraOption> &options) const
{
    VLDropdown<QString> dropdown;
    for (const CameraOption &option : options)
        dropdown.options.emplace_back(option.uniqueID, option.localizedName);
    PrivacyGuard *guard = &m_guard;
    dropdown.selection = {[guard] { return guard->selectedCameraID(); },
                          [guard](const QString &id) { guard->selectCamera(id); }};
    return dropdown;
}

void FaceEnrollSheet::refresh()
{
    setWindowTitle(text("pg.sheetTitle"));
    m_title->setText(text("pg.sheetTitle"));
    m_cameraLabel->setText(text("pg.camera"));
    // Listing the cameras reads the system's devices: once per refresh.
    const std::vector<CameraOption> cameras = m_guard.cameraOptions();
    m_camera->update(cameraDropdownValue(cameras));
    m_cancel->update({text("common.cancel"), false, [this] { reject(); }});
    m_capture->update({text("pg.capture"), true, [this] { runCapture(); }});
    m_capture->button()->setEnabled(m_phase != Phase::capturing && m_phase != Phase::done);

    static const char *const statusKeys[] = {"pg.sheetGuide", "pg.capturing", "pg.captureDone", "pg.noFace"};
    m_status->setText(text(statusKeys[int(m_phase)]));
    m_status->setFixedColor(m_phase == Phase::noFace ? std::optional<QColor>(Theme::warn()) : std::nullopt);

    if (m_guard.cameraDenied())
        m_preview->setPlaceholder(text("pg.camDenied"));
    else if (cameras.empty())
        m_preview->setPlaceholder(text("pg.noCamera"));
    else if (m_pictureOverdue)
        m_preview->setPlaceholder(text("pg.noPicture"));
    else
        m_preview->setPlaceholder(QString());
}

} // namespace veilora
