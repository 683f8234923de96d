#include "SettingsSidebar.h"

#include "AppIconView.h"
#include "BlendScrollArea.h"
#include "RowDivider.h"
#include "SettingsRouter.h"
#include "SettingsTabInfo.h"
#include "SidebarRow.h"
#include "TesterModeIcon.h"
#include "Theme.h"
#include "ToneLabel.h"
#include "localization/L10n.h"
#include "platform/BundleInfo.h"

#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>

namespace veilora {

namespace {

// The list's rows are inset from the sidebar's edges; their focus ring margin
// is part of the inset.
constexpr int rowInset = 10 - SidebarRow::ringMargin;

QString versionText()
{
    return BundleInfo::main().shortVersion().value_or(QStringLiteral("0.1.0"));
}

// The product's icon, name and version at the foot of the sidebar.
QWidget *makeFooter(TesterModel *tester)
{
    auto *footer = new QWidget;
    auto *layout = new QHBoxLayout(footer);
    layout->setContentsMargins(10, 12, 10, 14);
    layout->setSpacing(5);
    if (tester)
        layout->addWidget(new TesterModeIcon(52, *tester), 0, Qt::AlignVCenter);
    else
        layout->addWidget(new AppIconView(52), 0, Qt::AlignVCenter);

    auto *text = new QVBoxLayout;
    text->setSpacing(1);
    auto *name = new ToneLabel(QStringLiteral("Veilora"), 13, QFont::DemiBold, Theme::Tone::primary);
    auto *version = new ToneLabel(versionText(), 12, QFont::Normal, Theme::Tone::secondary);
    version->setTextInteractionFlags(Qt::TextSelectableByMouse);
    version->setObjectName(QStringLiteral("sidebarVersion"));
    text->addStretch();
    text->addWidget(name);
    text->addWidget(version);
    text->addStretch();
    layout->addLayout(text, 1);
    return footer;
}

QWidget *makeGroupDivider()
{
    // Padded 8 above and below and 12 at the ends; inset like the row text.
    auto *holder = new QWidget;
    auto *layout = new QVBoxLayout(holder);
    layout->setContentsMargins(12 - rowInset, 8, 12 - rowInset, 8);
    layout->addWidget(new RowDivider(0));
    return holder;
}

} // namespace

SettingsSidebar::SettingsSidebar(SettingsRouter &router, TesterModel *tester, QWidget *parent)
    : QWidget(parent)
    , m_router(router)
    , m_header(new ToneLabel(QString(), 12, QFont::DemiBold, Theme::Tone::secondary))
{
    setFixedWidth(sidebarWidth);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(L10n::shared().string(QStringLiteral("settings.title")));

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_header->setContentsMargins(18, 30, 18, 10);
    layout->addWidget(m_header);

    auto *list = new QWidget;
    auto *rows = new QVBoxLayout(list);
    rows->setContentsMargins(rowInset, 0, rowInset, 0);
    rows->setSpacing(0);
    for (const SettingsTab tab : SettingsTabs::allCases()) {
        if (SettingsTabs::startsNewGroup(tab))
            rows->addWidget(makeGroupDivider());
        auto *row = new SidebarRow(tab);
        connect(row, &QAbstractButton::clicked, this, [this, tab] {
            // A click puts the keyboard here too, without showing the ring.
            setFocus(Qt::MouseFocusReason);
            select(tab);
        });
        rows->addWidget(row);
        m_rows.emplace(tab, row);
    }
    rows->addStretch(1);
    rows->addWidget(makeFooter(tester));

    auto *scroller = new BlendScrollArea;
    scroller->setContent(list);
    layout->addWidget(scroller, 1);

    connect(&router, &SettingsRouter::selectedTabChanged, this, &SettingsSidebar::showSelection);
    retranslate();
    showSelection();
}

SidebarRow *SettingsSidebar::row(SettingsTab tab) const
{
    return m_rows.at(tab);
}

void SettingsSidebar::retranslate()
{
    const QString title = L10n::shared().string(QStringLiteral("settings.title"));
    m_header->setText(title);
    setAccessibleName(title);
    for (const auto &[tab, row] : m_rows)
        row->retranslate();
}

void SettingsSidebar::select(SettingsTab tab)
{
    m_router.setSelectedTab(tab);
}

void SettingsSidebar::showSelection()
{
    for (const auto &[tab, row] : m_rows) {
        row->setSelected(tab == m_router.selectedTab());
        row->setFocusRingVisible(m_focusRing && tab == m_router.selectedTab());
    }
}

void SettingsSidebar::showFocusRing(bool visible)
{
    m_focusRing = visible;
    showSelection();
}

void SettingsSidebar::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), Theme::sidebarFill(palette()));
    // The hairline that separates the sidebar from the pane.
    const int edge = layoutDirection() == Qt::RightToLeft ? 0 : width() - 1;
    painter.fillRect(QRect(edge, 0, 1, height()), Theme::divider(palette()));
}

void SettingsSidebar::keyPressEvent(QKeyEvent *event)
{
    const auto &tabs = SettingsTabs::allCases();
    const auto current = std::find(tabs.begin(), tabs.end(), m_router.selectedTab());
    const auto index = current - tabs.begin();
    std::ptrdiff_t target = index;
    switch (event->key()) {
    case Qt::Key_Up:
        target = std::max<std::ptrdiff_t>(index - 1, 0);
        break;
    case Qt::Key_Down:
        target = std::min<std::ptrdiff_t>(index + 1, std::ssize(tabs) - 1);
        break;
    case Qt::Key_Home:
        target = 0;
        break;
    case Qt::Key_End:
        target = std::ssize(tabs) - 1;
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    showFocusRing(true);
    select(tabs[std::size_t(target)]);
}

void SettingsSidebar::focusInEvent(QFocusEvent *event)
{
    QWidget::focusInEvent(event);
    showFocusRing(event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason ||
                  event->reason() == Qt::ShortcutFocusReason);
}

void SettingsSidebar::focusOutEvent(QFocusEvent *event)
{
    QWidget::focusOutEvent(event);
    showFocusRing(false);
}

} // namespace veilora
