#pragma once

#include "SettingsServices.h"

#include <QWidget>

namespace veilora {

class SettingsRouter;
class SettingsView;

// The settings window: a normal decorated top-level window around a
// SettingsView. It deletes itself when closed; Ctrl+W and Escape close it.
class SettingsWindow : public QWidget
{
    Q_OBJECT
public:
    static constexpr QSize initialSize{760, 520};
    static constexpr QSize minimumSize{720, 480};

    SettingsWindow(SettingsServices services, SettingsRouter &router, QWidget *parent = nullptr);

    SettingsView *view() const { return m_view; }

    // "Settings — Veilora" in the interface language.
    static QString title();

private:
    SettingsView *m_view;
};

} // namespace veilora
