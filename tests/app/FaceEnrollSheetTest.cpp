// The enrollment sheet on the real X server with real input, over a real guard
// and face camera. Cameras and face finding are the test's (no webcam here);
// time for the guard is driven by the test, so the ten-second capture limit
// passes at once.
#include "app/FaceEnrollSheet.h"

#include "app/CameraPreviewView.h"
#include "guard/FaceProfileStore.h"
#include "guard/GuardTestFakes.h"
#include "guard/LiveGuardCamera.h"
#include "platform/UserDefaults.h"
#include "settings/Theme.h"
#include "settings/ToneLabel.h"
#include "support/FakeCaptureDevices.h"
#include "support/FakeClock.h"
#include "support/FakeFaceVision.h"
#include "support/RealInput.h"
#include "support/TestSupport.h"

#include <QApplication>
#include <QFile>
#include <QMenu>
#include <QPainter>
#include <QScreen>
#include <QWindow>

#include <gtest/gtest.h>

using namespace veilora;
using namespace veilora::test;
using namespace std::chrono_literals;

namespace {

const CameraDevice laptopCamera{
    QStringLiteral("cam-a"), QStringLiteral("Integrated Camera"), CameraDevice::Kind::builtin, {}};
const CameraDevice deskCamera{
    QStringLiteral("cam-b"), QStringLiteral("Desk Camera"), CameraDevice::Kind::external, {}};

// A 16:9 picture whose left half differs from its right: a letterboxed or
// unmirrored preview shows it.
QImage halves(QColor left, QColor right)
{
    QImage frame(1280, 720, QImage::Format_RGB32);
    frame.fill(right);
    QPainter(&frame).fillRect(0, 0, 640, 720, left);
    return frame;
}

QColor onScreen(const QWidget *widget, QPoint at)
{
    const QPoint global = widget->mapToGlobal(at);
    return QGuiApplication::primaryScreen()
        ->grabWindow(0, global.x(), global.y(), 1, 1)
        .toImage()
        .pixelColor(0, 0);
}

bool near(QColor a, QColor b)
{
    return std::abs(a.red() - b.red()) < 24 && std::abs(a.green() - b.green()) < 24 &&
           std::abs(a.blue() - b.blue()) < 24;
}

class FaceEnrollSheetTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!ensureWindowManager()) {
            if (inTestSession())
                FAIL() << "the test session has an X server and openbox";
            GTEST_SKIP() << "needs an X display";
        }
        QFile::remove(FaceProfileStore::url());
        UserDefaults::standard().remove(QLatin1String(FaceCamera::cameraIDKey));
        vision->setPrintRule([](const QImage &, const QRectF &) { return std::optional(printAt(0)); });
        window.resize(720, 480);
        window.show();
        ASSERT_TRUE(waitUntil([&] { return window.windowHandle() && window.windowHandle()->isExposed(); }));
    }

    FaceEnrollSheet *openSheet()
    {
        auto *sheet = new FaceEnrollSheet(guard, &camera.faceCamera(), &window);
        sheet->open();
        EXPECT_TRUE(waitUntil([&] {
            return sheet->windowHandle() && sheet->windowHandle()->isExposed() &&
                   devices->isStreaming(laptopCamera.uniqueID);
        }));
        processEventsFor(200ms); // placed by the window manager
        // The camera's first second is for its exposure, not for enrollment.
        deliver(halves(Qt::gray, Qt::darkGray), laptopCamera, 0);
        clock.advanceSeconds(FaceCamera::settlingSeconds + 0.1);
        return sheet;
    }

    // One frame from `device`, `seconds` after the previous one.
    void deliver(const QImage &frame, const CameraDevice &device = laptopCamera, double seconds = 0.3)
    {
        clock.advanceSeconds(seconds);
        devices->deliver(device.uniqueID, {frame});
        processEventsFor(30ms);
    }

    void seeFace(bool face)
    {
        vision->setFaces(face ? std::vector<QRectF>{QRectF(0.3, 0.3, 0.4, 0.4)} : std::vector<QRectF>{});
    }

    FakeClock clock;
    std::shared_ptr<FakeCaptureDevices> devices =
        std::make_shared<FakeCaptureDevices>(std::vector<CameraDevice>{laptopCamera, deskCamera});
    std::shared_ptr<FakeFaceVision> vision = std::make_shared<FakeFaceVision>();
    LiveGuardCamera camera{std::make_unique<FaceCamera>(devices, vision, clock)};
    FakeGuardParts parts;
    PrivacyGuard guard{
        {&camera, &parts.shield, &parts.authenticator, &parts.authorization, &parts.displays, &clock, {}}};
    QWidget window;
};

TEST_F(FaceEnrollSheetTest, ThePreviewIsAMirrorImageThatFillsItsFrame)
{
    FaceEnrollSheet *sheet = openSheet();
    CameraPreviewView *preview = sheet->preview();
    EXPECT_EQ(preview->size(), QSize(400, 300));
    deliver(halves(Qt::red, Qt::blue));
    ASSERT_TRUE(waitUntil([&] { return preview->hasFrame(); }));
    processEventsFor(100ms);

    // The picture's right half shows on the left, as in a mirror.
    EXPECT_TRUE(near(onScreen(preview, {60, 150}), Qt::blue))
        << onScreen(preview, {60, 150}).name().toStdString();
    EXPECT_TRUE(near(onScreen(preview, {340, 150}), Qt::red));
    // Wider than the frame, it is cropped at the sides, never letterboxed: it
    // reaches the top and bottom edges right inside the rounded border.
    EXPECT_TRUE(near(onScreen(preview, {200, 2}), Qt::red) || near(onScreen(preview, {200, 2}), Qt::blue));
    EXPECT_TRUE(near(onScreen(preview, {100, 297}), Qt::blue));
    EXPECT_TRUE(near(onScreen(preview, {2, 150}), Qt::blue));
    sheet->reject();
}

TEST_F(FaceEnrollSheetTest, ACaptureShowsEnrolledClosesAndLeavesTheCameraToTheGuard)
{
    FaceEnrollSheet *sheet = openSheet();
    EXPECT_EQ(camera.sampleInterval(), PrivacyGuard::previewSampleInterval);
    seeFace(true);
    click(sheet->captureButton());
    ASSERT_TRUE(waitUntil([&] { return sheet->phase() == FaceEnrollSheet::Phase::capturing; }));
    EXPECT_FALSE(sheet->captureButton()->isEnabled());
    EXPECT_EQ(sheet->statusLabel()->text(), QStringLiteral("Capturing…"));

    for (int i = 0; i < 6 && sheet->phase() == FaceEnrollSheet::Phase::capturing; ++i)
        deliver(halves(Qt::gray, Qt::darkGray));
    clock.advanceSeconds(0.2);
    ASSERT_TRUE(waitUntil([&] { return sheet->phase() == FaceEnrollSheet::Phase::done; }));
    EXPECT_EQ(sheet->statusLabel()->text(), QStringLiteral("Enrolled"));
    EXPECT_FALSE(sheet->captureButton()->isEnabled());
    EXPECT_TRUE(guard.enrolled());

    QPointer<FaceEnrollSheet> watched(sheet);
    processEventsFor(600ms);
    EXPECT_TRUE(watched && watched->isVisible()) << "\"Enrolled\" stays readable for a moment";
    EXPECT_TRUE(waitUntil([&] { return !watched; }, 2s));
    // Protection is off, so the camera stops; the next watching samples at the alert pace.
    EXPECT_TRUE(waitUntil([&] { return !devices->isStreaming(laptopCamera.uniqueID); }));
    EXPECT_EQ(camera.sampleInterval(), PrivacyGuard::alertSampleInterval);
}

TEST_F(FaceEnrollSheetTest, NoFaceForTenSecondsTurnsTheStatusOrangeAndAllowsAnotherTry)
{
    FaceEnrollSheet *sheet = openSheet();
    seeFace(false);
    click(sheet->captureButton());
    ASSERT_TRUE(waitUntil([&] { return sheet->phase() == FaceEnrollSheet::Phase::capturing; }));
    for (int i = 0; i < 34 && sheet->phase() == FaceEnrollSheet::Phase::capturing; ++i)
        deliver(halves(Qt::gray, Qt::darkGray));
    ASSERT_TRUE(waitUntil([&] { return sheet->phase() == FaceEnrollSheet::Phase::noFace; }, 3s));
    EXPECT_EQ(sheet->statusLabel()->text(),
              QStringLiteral("Could not detect a face. Try again in better lighting."));
    EXPECT_EQ(sheet->statusLabel()->palette().color(QPalette::WindowText), Theme::warn());
    EXPECT_TRUE(sheet->captureButton()->isEnabled());
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_FALSE(guard.enrolled());

    // The second try, with a face, succeeds.
    seeFace(true);
    click(sheet->captureButton());
    ASSERT_TRUE(waitUntil([&] { return sheet->phase() == FaceEnrollSheet::Phase::capturing; }));
    for (int i = 0; i < 6 && sheet->phase() == FaceEnrollSheet::Phase::capturing; ++i)
        deliver(halves(Qt::gray, Qt::darkGray));
    clock.advanceSeconds(0.2);
    EXPECT_TRUE(waitUntil([&] { return sheet->phase() == FaceEnrollSheet::Phase::done; }));
}

TEST_F(FaceEnrollSheetTest, CancelDuringACaptureClosesAtOnceAndCollectionEnds)
{
    FaceEnrollSheet *sheet = openSheet();
    seeFace(true);
    click(sheet->captureButton());
    ASSERT_TRUE(waitUntil([&] { return guard.isCollecting(); }));
    deliver(halves(Qt::gray, Qt::darkGray));

    QPointer<FaceEnrollSheet> watched(sheet);
    click(sheet->cancelButton());
    EXPECT_TRUE(waitUntil([&] { return !watched || !watched->isVisible(); }, 1s));
    EXPECT_FALSE(guard.isCollecting());
    EXPECT_TRUE(waitUntil([&] { return !devices->isStreaming(laptopCamera.uniqueID); }));
    // Frames that still come are no enrollment.
    clock.advanceSeconds(11);
    processEventsFor(300ms);
    EXPECT_FALSE(guard.enrolled());
}

TEST_F(FaceEnrollSheetTest, AnotherCameraChangesThePreviewAndKeepsTheSheetOpen)
{
    FaceEnrollSheet *sheet = openSheet();
    deliver(halves(Qt::red, Qt::red));
    ASSERT_TRUE(waitUntil([&] { return sheet->preview()->hasFrame(); }));
    EXPECT_EQ(sheet->cameraPicker()->label->text(), laptopCamera.localizedName);

    click(sheet->cameraPicker());
    QMenu *menu = nullptr;
    ASSERT_TRUE(waitUntil([&] {
        menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        return menu && menu->isVisible();
    }));
    const QList<QAction *> entries = menu->actions();
    ASSERT_EQ(entries.size(), 2);
    EXPECT_EQ(entries.at(1)->text(), deskCamera.localizedName);
    clickAt(menu->mapToGlobal(menu->actionGeometry(entries.at(1)).center()));

    ASSERT_TRUE(waitUntil([&] { return devices->isStreaming(deskCamera.uniqueID); }));
    EXPECT_TRUE(waitUntil([&] { return sheet->cameraPicker()->label->text() == deskCamera.localizedName; }));
    deliver(halves(Qt::blue, Qt::blue), deskCamera);
    EXPECT_TRUE(waitUntil([&] { return near(onScreen(sheet->preview(), {200, 150}), Qt::blue); }));
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(guard.selectedCameraID(), deskCamera.uniqueID);
    sheet->reject();
}

TEST_F(FaceEnrollSheetTest, EscapeOrClosingTheWindowBeneathEndsThePreview)
{
    QPointer<FaceEnrollSheet> sheet(openSheet());
    sheet->activateWindow();
    ASSERT_TRUE(waitUntil([&] { return sheet->isActiveWindow(); }));
    pressKey(QStringLiteral("Escape"));
    EXPECT_TRUE(waitUntil([&] { return !sheet; }));
    EXPECT_TRUE(waitUntil([&] { return !devices->isStreaming(laptopCamera.uniqueID); }));

    sheet = openSheet();
    window.close();
    EXPECT_TRUE(waitUntil([&] { return !sheet; }));
    EXPECT_TRUE(waitUntil([&] { return !devices->isStreaming(laptopCamera.uniqueID); }));
    EXPECT_EQ(camera.sampleInterval(), PrivacyGuard::alertSampleInterval);
}

TEST_F(FaceEnrollSheetTest, WithoutAPictureThePreviewSaysWhy)
{
    devices->unplug(laptopCamera.uniqueID);
    devices->unplug(deskCamera.uniqueID);
    QPointer<FaceEnrollSheet> sheet(new FaceEnrollSheet(guard, &camera.faceCamera(), &window));
    sheet->open();
    EXPECT_TRUE(waitUntil([&] {
        return sheet->preview()->placeholder() ==
               QStringLiteral("No camera found. Connect a camera, then try again.");
    }));

    // A camera plugged in meanwhile is taken at once; one that shows nothing is
    // probably held by another application.
    devices->plug(deskCamera);
    ASSERT_TRUE(waitUntil([&] { return devices->isStreaming(deskCamera.uniqueID); }));
    EXPECT_TRUE(waitUntil([&] { return sheet->cameraPicker()->label->text() == deskCamera.localizedName; }));
    EXPECT_TRUE(sheet->preview()->placeholder().isEmpty());
    EXPECT_TRUE(waitUntil(
        [&] {
            return sheet->preview()->placeholder() ==
                   QStringLiteral("The camera shows no picture. Another application may be using it.");
        },
        std::chrono::milliseconds(FaceEnrollSheet::pictureWaitMs + 2000)));
    sheet->reject();
}

} // namespace
