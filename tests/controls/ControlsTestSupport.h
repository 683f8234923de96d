#pragma once

// Shared by the control tests: a shown window to put controls in, and input
// that goes the way a person's does, through the window system into the window,
// so that Qt itself finds the widget under the pointer.
#include "controls/Palettes.h"

#include <QApplication>
#include <QMenu>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

namespace veilora::test {

class ControlsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QApplication::setPalette(Palettes::light());
        window.setAutoFillBackground(true);
        window.setGeometry(100, 100, 400, 200);
    }

    void TearDown() override
    {
        if (QWidget *popup = QApplication::activePopupWidget())
            popup->close();
        QApplication::setPalette(Palettes::light());
    }

    // Shows the window and gives it the keyboard.
    void showWindow()
    {
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }

    // A left click at `pos` in `target`, delivered to the window it lies in.
    static void click(QWidget *target, QPoint pos)
    {
        QWidget *top = target->window();
        QTest::mouseClick(top->windowHandle(), Qt::LeftButton, {}, target->mapTo(top, pos));
    }
    static void click(QWidget *target) { click(target, target->rect().center()); }

    void key(Qt::Key key) { QTest::keyClick(window.windowHandle(), key); }

    // The menu that popped up, once it shows.
    static QMenu *openMenu()
    {
        QMenu *menu = nullptr;
        const bool shown = QTest::qWaitFor([&] {
            menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
            return menu && menu->isVisible();
        });
        return shown ? menu : nullptr;
    }

    // The control painted alone, children included, on white at 1×.
    static QImage painted(QWidget &widget)
    {
        QImage image(widget.size(), QImage::Format_ARGB32);
        image.fill(Qt::white);
        widget.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
        return image;
    }

    QWidget window;
};

} // namespace veilora::test
