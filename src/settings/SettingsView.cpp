#include "SettingsView.h"

#include "AboutTab.h"
#include "AccountTab.h"
#include "BlendScrollArea.h"
#include "GeneralTab.h"
#include "PermissionsTab.h"
#include "SettingsRouter.h"
#include "SettingsSidebar.h"
#include "SettingsTabInfo.h"
#include "ToneLabel.h"
#include "localization/L10n.h"

#include <QHBoxLayout>
#include <QShortcut>
#include <QVBoxLayout>

#include <algorithm>

namespace veilora {

namespace {

constexpr int panePadding = 28;
constexpr int titleTop = 30;
constexpr int titleBottom = 22;

} // namespace

SettingsView::SettingsView(SettingsServices services, SettingsRouter &router, QWidget *parent)
    : QWidget(parent)
    , m_services(std::move(services))
    , m_router(router)
    , m_sidebar(new SettingsSidebar(router, m_services.tester))
    , m_title(new ToneLabel(QString(), 22, QFont::Bold, Theme::Tone::primary))
    , m_subtitle(new ToneLabel(QString(), 13, QFont::Normal, Theme::Tone::secondary))
    , m_scroller(new BlendScrollArea)
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_sidebar);

    // The scroll area reaches the window's trailing and bottom edges: its bar
    // floats in the pane's padding instead of over the cards, and scrolled
    // content runs out at the window's edge rather than at an invisible line.
    auto *pane = new QVBoxLayout;
    pane->setContentsMargins(panePadding, titleTop, 0, 0);
    pane->setSpacing(0);
    m_title->setWordWrap(true);
    m_subtitle->setWordWrap(true);
    m_title->setContentsMargins(0, 0, panePadding, 0);
    m_subtitle->setContentsMargins(0, 2, panePadding, 0);
    pane->addWidget(m_title);
    pane->addWidget(m_subtitle);
    pane->addSpacing(titleBottom);
    pane->addWidget(m_scroller, 1);
    layout->addLayout(pane, 1);

    // The usual keys for the next and previous page of a tabbed window, from anywhere in it.
    for (const auto &[keys, step] : {std::pair{QKeySequence(Qt::CTRL | Qt::Key_PageDown), 1},
                                     std::pair{QKeySequence(Qt::CTRL | Qt::Key_PageUp), -1}}) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this,
                [this, step = step] { stepTab(step); });
    }

    connect(&router, &SettingsRouter::selectedTabChanged, this, &SettingsView::showTab);
    connect(&L10n::shared(), &L10n::languageChanged, this, &SettingsView::retranslate);
    showTab(router.selectedTab());
}

QString SettingsView::paneTitle() const
{
    return m_title->text();
}

QString SettingsView::paneSubtitle() const
{
    return m_subtitle->text();
}

void SettingsView::showTab(SettingsTab tab)
{
    auto *content = new QWidget;
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, panePadding, panePadding);
    layout->setSpacing(0);
    m_tabView = makeTabView(tab);
    layout->addWidget(m_tabView);
    layout->addStretch(1);
    // The previous view may be in the middle of handling the event that led
    // here, so it goes away once that is done.
    if (QWidget *previous = m_scroller->takeWidget()) {
        previous->hide();
        previous->deleteLater();
    }
    m_scroller->setContent(content);
    retranslate();
    Q_EMIT tabViewChanged(m_tabView);
}

void SettingsView::stepTab(int step)
{
    const auto &tabs = SettingsTabs::allCases();
    const auto index = std::find(tabs.begin(), tabs.end(), m_router.selectedTab()) - tabs.begin();
    const auto count = std::ssize(tabs);
    m_router.setSelectedTab(tabs[std::size_t((index + step + count) % count)]);
}

void SettingsView::retranslate()
{
    m_title->setText(SettingsTabs::title(m_router.selectedTab()));
    m_subtitle->setText(SettingsTabs::subtitle(m_router.selectedTab()));
    m_sidebar->retranslate();
}

QWidget *SettingsView::makeTabView(SettingsTab tab)
{
    switch (tab) {
    case SettingsTab::general:
        return new GeneralTab(m_services);
    case SettingsTab::permissions:
        if (m_services.cameraAuthorization)
            return new PermissionsTab(m_services);
        break;
    case SettingsTab::account:
        if (m_services.account)
            return new AccountTab(m_services);
        break;
    case SettingsTab::about:
        return new AboutTab(m_services);
    }
    auto *empty = new QWidget;
    empty->setObjectName(QStringLiteral("emptyTab"));
    return empty;
}

} // namespace veilora
