#pragma once

#include "RecordingGuard.h"
#include "controls/Palettes.h"
#include "localization/L10n.h"
#include "settings/AppSettings.h"
#include "settings/SettingsRouter.h"
#include "settings/SettingsWindow.h"
#include "settings/SettingsWindowController.h"
#include "support/TestSupport.h"

#include <QApplication>
#include <QPointer>

#include <gtest/gtest.h>
#include <ostream>

// Readable failure messages for texts.
inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << text.toStdString() << '"';
}

namespace veilora::test {

// A controller over a recording guard, the process's application settings (in
// the test's private home) and a router of its own, so each test starts on
// General with no window open and the interface in English.
class SettingsWindowFixture : public ::testing::Test
{
protected:
    void SetUp() override
    {
        L10n::shared().apply(QStringLiteral("en"));
        QApplication::setPalette(lightPalette());
    }

    void TearDown() override
    {
        if (QPointer<SettingsWindow> window = controller.window()) {
            window->close();
            waitUntil([&] { return window.isNull(); });
        }
        L10n::shared().apply(QStringLiteral("en"));
        QApplication::setPalette(lightPalette());
    }

    static QPalette lightPalette() { return Palettes::light(); }

    // Opens the window and waits until it is on screen and active.
    SettingsWindow *open(std::optional<SettingsTab> tab = std::nullopt)
    {
        controller.show(tab);
        SettingsWindow *window = controller.window();
        EXPECT_NE(window, nullptr);
        if (window) {
            EXPECT_TRUE(waitUntil([window] { return window->isActiveWindow(); }));
        }
        return window;
    }

    RecordingGuard guard;
    AppSettings &settings = AppSettings::shared();
    SettingsRouter router;
    std::function<void(QWidget *)> presentEnrollment;
    SettingsWindowController controller{SettingsServices{&guard, &settings,
                                                         [this](QWidget *parent) {
                                                             if (presentEnrollment)
                                                                 presentEnrollment(parent);
                                                         }},
                                        &router};
};

} // namespace veilora::test
