#pragma once

#include "platform/CameraAuthorization.h"

#include <QDialog>
#include <QPointer>
#include <QString>

#include <functional>

class QAbstractButton;
class QLabel;

namespace veilora {

class CameraAccessHelpLauncher;
class PillButton;
class ToneLabel;

// What the system says about the camera, read afresh whenever the help looks.
struct CameraFacts
{
    bool sandboxed = false;
    // Some video device exists (always assumed in a sandbox, which hides them).
    bool cameraPresent = true;
    // Devices exist and this user may open none of them.
    bool devicesInaccessible = false;
    CameraAuthorization::Status status = CameraAuthorization::Status::notDetermined;
};

// What keeps the camera from Veilora, the first that applies in this order.
enum class CameraObstacle
{
    noCamera,
    notInVideoGroup,
    consentRefused,
    portalRefused,
    notAsked,
    none,
};

CameraObstacle obstacleFor(const CameraFacts &facts);

// What the help reads and changes.
struct CameraHelpContext
{
    std::function<CameraFacts()> facts;
    // To ask once more, where asking can still help.
    CameraAuthorization *camera = nullptr;
    // Stores the user's yes, as the consent question would have.
    std::function<void()> allowCamera;
    CameraAccessHelpLauncher *launcher = nullptr;
    QString userName;
    // The sandbox's name for the application, for resetting its permission.
    QString applicationId;

    // The application's camera authorization, its preferences and QProcess.
    static CameraHelpContext live();
};

// Camera help on Linux, where no system window grants a camera: a small window
// that names what blocks the camera (a refusal given earlier, the "video"
// group, the sandbox's portal, no camera at all) and offers the fix, in the
// interface language. It looks again whenever it becomes active.
class CameraAccessHelp : public QDialog
{
    Q_OBJECT
public:
    static constexpr int windowWidth = 440;

    explicit CameraAccessHelp(CameraHelpContext context, QWidget *parent = nullptr);
    ~CameraAccessHelp() override;

    // Opens the help over `parent`, or brings the open one forward.
    static CameraAccessHelp *present(CameraHelpContext context, QWidget *parent);
    // The open help, or null.
    static CameraAccessHelp *current();

    // Reads the facts again and shows what now stands in the way.
    void refresh();
    CameraObstacle obstacle() const { return m_obstacle; }
    QString command() const;

    ToneLabel *titleLabel() const { return m_title; }
    ToneLabel *bodyLabel() const { return m_body; }
    ToneLabel *commandIntro() const { return m_commandIntro; }
    QLabel *commandLabel() const { return m_command; }
    ToneLabel *resultLabel() const { return m_result; }
    PillButton *copyButton() const { return m_copy; }
    PillButton *allowButton() const { return m_allow; }
    PillButton *addToGroupButton() const { return m_addToGroup; }
    PillButton *openSettingsButton() const { return m_openSettings; }
    // Filled where asking is the way forward, outlined beside the settings.
    PillButton *askButton() const;
    PillButton *closeButton() const { return m_close; }

protected:
    bool event(QEvent *event) override;

private:
    void showObstacle(CameraObstacle obstacle);
    void retranslate();
    void fitHeight();
    void copyCommand();
    void addToVideoGroup();
    void openPrivacySettings();
    void ask();
    void report(const QString &text, bool success);
    void focusMainAction();

    CameraHelpContext m_context;
    CameraObstacle m_obstacle = CameraObstacle::none;
    bool m_shown = false;
    ToneLabel *m_title;
    ToneLabel *m_body;
    ToneLabel *m_commandIntro;
    QWidget *m_commandRow;
    QWidget *m_commandField;
    QLabel *m_command;
    ToneLabel *m_result;
    PillButton *m_copy;
    PillButton *m_allow;
    PillButton *m_addToGroup;
    PillButton *m_openSettings;
    PillButton *m_askNow;
    PillButton *m_askAgain;
    PillButton *m_close;
};

} // namespace veilora
