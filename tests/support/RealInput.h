#pragma once

#include <QPoint>
#include <QString>

#include <gtest/gtest.h>

class QWidget;

namespace veilora::test {

// Input as a person gives it: through the X server (xdotool's XTest events), so
// it passes the window manager, focus and grabs like a real pointer and
// keyboard. For the private display of the test session.

// Starts a window manager (openbox) on the display unless one runs; it stays for
// the rest of the process. False without an X display or when none starts.
bool ensureWindowManager();

// Starts the window manager for a whole test binary, before its first test.
class WindowManagerEnvironment : public ::testing::Environment
{
public:
    void SetUp() override { ensureWindowManager(); }
};

// Moves the pointer to the centre of `widget` (or to a point on the screen) and
// clicks the left button.
void click(const QWidget *widget);
void clickAt(const QPoint &global);

// Presses and releases a key by its X name ("Escape", "Return", "ctrl+w").
void pressKey(const QString &keysym);

} // namespace veilora::test
