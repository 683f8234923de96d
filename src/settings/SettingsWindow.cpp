#include "SettingsWindow.h"

#include "AppIconView.h"
#include "SettingsView.h"
#include "localization/L10n.h"

#include <QShortcut>
#include <QVBoxLayout>

namespace veilora {

SettingsWindow::SettingsWindow(SettingsServices services, SettingsRouter &router, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_view(new SettingsView(std::move(services), router))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("settingsWindow"));
    setMinimumSize(minimumSize);
    resize(initialSize);
    setWindowIcon(AppIconView::icon());
    setWindowTitle(title());

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);

    for (const QKeySequence &keys : {QKeySequence(QKeySequence::Close), QKeySequence(Qt::Key_Escape)})
        connect(new QShortcut(keys, this), &QShortcut::activated, this, &QWidget::close);
    connect(&L10n::shared(), &L10n::languageChanged, this, [this] { setWindowTitle(title()); });
}

QString SettingsWindow::title()
{
    return L10n::shared().string(QStringLiteral("settings.title")) + QStringLiteral(" — Veilora");
}

} // namespace veilora
