#include "OnboardingWindowController.h"

#include "settings/AppIconView.h"
#include "settings/AppSettings.h"

#include <QCloseEvent>
#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QShortcut>
#include <QStyle>
#include <QVBoxLayout>

namespace veilora {

namespace {

// Tells its owner the moment it closes, before it is gone.
class OnboardingWindow : public QWidget
{
public:
    explicit OnboardingWindow(std::function<void()> closing)
        : QWidget(nullptr,
                  Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint)
        , m_closing(std::move(closing))
    {}

protected:
    void closeEvent(QCloseEvent *event) override
    {
        QWidget::closeEvent(event);
        if (event->isAccepted() && m_closing)
            std::exchange(m_closing, nullptr)();
    }

private:
    std::function<void()> m_closing;
};

} // namespace

OnboardingWindowController::OnboardingWindowController(OnboardingServices services, QObject *parent)
    : QObject(parent)
    , m_services(std::move(services))
{}

OnboardingWindowController::~OnboardingWindowController()
{
    delete m_window;
}

OnboardingWindowController &OnboardingWindowController::shared()
{
    static auto *controller = new OnboardingWindowController; // lives as long as the process
    return *controller;
}

void OnboardingWindowController::setServices(OnboardingServices services)
{
    m_services = std::move(services);
}

void OnboardingWindowController::show()
{
    if (!m_services.isComplete()) {
        qWarning("OnboardingWindowController::show before setServices: no onboarding window");
        return;
    }
    if (!m_window) {
        auto *window = new OnboardingWindow([this] { finish(); });
        window->setObjectName(QStringLiteral("onboardingWindow"));
        window->setAttribute(Qt::WA_DeleteOnClose);
        window->setWindowTitle(QStringLiteral("Veilora"));
        window->setWindowIcon(AppIconView::icon());
        window->setFixedSize(windowSize);
        auto *layout = new QVBoxLayout(window);
        layout->setContentsMargins(0, 0, 0, 0);
        m_view = new OnboardingView(*m_services.cameraAuthorization,
                                    {m_services.showCameraHelp, [this] { enroll(); }});
        layout->addWidget(m_view);
        connect(new QShortcut(QKeySequence::Close, window), &QShortcut::activated, window, &QWidget::close);
        m_window = window;

        QScreen *screen = QGuiApplication::screenAt(QCursor::pos());
        if (!screen)
            screen = QGuiApplication::primaryScreen();
        if (screen) {
            window->setGeometry(QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, windowSize,
                                                    screen->availableGeometry()));
        }
    }
    m_window->setWindowState((m_window->windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void OnboardingWindowController::finish()
{
    m_services.settings->setOnboardingCompleted(true);
    // The window deletes itself once the close is handled; nothing may reach it after this.
    m_view = nullptr;
    m_window = nullptr;
}

void OnboardingWindowController::enroll()
{
    if (m_window)
        m_window->close();
    if (m_services.showGeneralSettings)
        m_services.showGeneralSettings();
}

} // namespace veilora
