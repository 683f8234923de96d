#pragma once

#include "SettingsTab.h"

#include <QAbstractButton>

namespace veilora {

// One entry of the settings sidebar: the tab's icon chip and title. The selected
// row is filled with the accent colour and reads in white. The row is checked
// while selected, so assistive technology announces the selection; clicking it
// asks for the tab, and the sidebar decides what is selected.
class SidebarRow : public QAbstractButton
{
    Q_OBJECT
public:
    // Room around the row's fill for the keyboard focus ring.
    static constexpr int ringMargin = 3;

    explicit SidebarRow(SettingsTab tab, QWidget *parent = nullptr);

    SettingsTab tab() const { return m_tab; }
    bool isSelected() const { return isChecked(); }
    void setSelected(bool selected);
    void setFocusRingVisible(bool visible);
    // Re-reads the title in the interface language.
    void retranslate();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }
    // The painted background, inside the ring margin.
    QRectF fillRect() const;

protected:
    void paintEvent(QPaintEvent *event) override;
    void nextCheckState() override {}
    bool hitButton(const QPoint &position) const override;

private:
    SettingsTab m_tab;
    bool m_focusRing = false;
};

} // namespace veilora
