#include "UpdateWindow.h"

#include "controls/PillButton.h"
#include "localization/L10n.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QProgressBar>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace veilora {

using namespace Qt::Literals::StringLiterals;

namespace {

QString text(const char *key)
{
    return L10n::shared().string(QString::fromLatin1(key));
}

QString filled(const char *key, const QVariantList &args)
{
    return formatText(text(key), args);
}

QString dataSize(qint64 bytes)
{
    return QLocale::c().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

// Release notes come from the network: links open in the browser, and nothing
// they reference (images, style sheets, local files) is ever loaded.
class ReleaseNotesView : public QTextBrowser
{
public:
    explicit ReleaseNotesView(QWidget *parent)
        : QTextBrowser(parent)
    {
        setOpenLinks(false);
        setReadOnly(true);
        connect(this, &QTextBrowser::anchorClicked, this, [](const QUrl &url) {
            if (url.scheme() == "https"_L1 || url.scheme() == "http"_L1)
                QDesktopServices::openUrl(url);
        });
    }

    QVariant loadResource(int, const QUrl &) override { return {}; }
};

constexpr int windowWidth = 540;

} // namespace

UpdateWindow::UpdateWindow(QWidget *parent)
    : QWidget(parent, Qt::Window | Qt::Dialog)
{
    setObjectName(u"updateWindow"_s);
    setAttribute(Qt::WA_DeleteOnClose, false);
    setFixedWidth(windowWidth);

    m_icon = new QLabel(this);
    m_icon->setAlignment(Qt::AlignTop | Qt::AlignHCenter);
    m_icon->setFixedWidth(72);
    const QIcon icon = QApplication::windowIcon();
    if (!icon.isNull())
        m_icon->setPixmap(icon.pixmap(64, 64));
    m_icon->setVisible(!icon.isNull());

    m_title = new QLabel(this);
    m_title->setObjectName(u"updateTitle"_s);
    QFont titleFont = m_title->font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.15);
    m_title->setFont(titleFont);
    m_title->setWordWrap(true);

    m_message = new QLabel(this);
    m_message->setObjectName(u"updateMessage"_s);
    m_message->setWordWrap(true);

    m_progress = new QProgressBar(this);
    m_progress->setTextVisible(false);
    m_progressLabel = new QLabel(this);
    m_progressLabel->setObjectName(u"updateProgressText"_s);

    m_notes = new ReleaseNotesView(this);
    m_notes->setObjectName(u"updateReleaseNotes"_s);
    m_notes->setMinimumHeight(220);

    m_detail = new QLabel(this);
    m_detail->setObjectName(u"updateDetail"_s);
    m_detail->setWordWrap(true);
    m_detail->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QPalette detailPalette = m_detail->palette();
    detailPalette.setColor(QPalette::WindowText, detailPalette.color(QPalette::PlaceholderText));
    m_detail->setPalette(detailPalette);

    m_buttonRow = new QWidget(this);
    auto *buttons = new QHBoxLayout(m_buttonRow);
    buttons->setContentsMargins(0, 8, 0, 0);
    buttons->setSpacing(8);
    buttons->addStretch(1);

    auto *column = new QVBoxLayout;
    column->setSpacing(10);
    column->addWidget(m_title);
    column->addWidget(m_message);
    column->addWidget(m_progress);
    column->addWidget(m_progressLabel);
    column->addWidget(m_notes, 1);
    column->addWidget(m_detail);
    column->addWidget(m_buttonRow);

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 16);
    layout->setSpacing(14);
    layout->addWidget(m_icon);
    layout->addLayout(column, 1);

    connect(&L10n::shared(), &L10n::languageChanged, this, &UpdateWindow::applyTexts);
}

void UpdateWindow::present(Page page, std::function<void()> texts)
{
    m_page = page;
    m_texts = std::move(texts);
    m_progress->setVisible(page == Page::checking || page == Page::downloading || page == Page::installing);
    m_progressLabel->setVisible(page == Page::downloading);
    m_notes->setVisible(page == Page::available);
    m_detail->clear();
    m_detail->setVisible(false);
    if (page != Page::downloading)
        m_progress->setRange(0, 0);
    applyTexts();
    adjustSize();
}

void UpdateWindow::applyTexts()
{
    setWindowTitle(text("upd.windowTitle"));
    if (m_texts)
        m_texts();
    if (m_page == Page::downloading)
        setProgress(m_received, m_total);
    if (m_page == Page::available && m_notesFailed)
        m_notes->setPlainText(text("upd.notesUnavailable"));
}

void UpdateWindow::setButtons(std::optional<Button> secondary, std::optional<Button> primary)
{
    // Made afresh: a pill button keeps the look it was made with. The old ones
    // may be inside their own click, so they go later.
    auto *row = static_cast<QHBoxLayout *>(m_buttonRow->layout());
    for (PillButton *old : {m_primary.data(), m_secondary.data()}) {
        if (!old)
            continue;
        old->disconnect(this);
        old->hide();
        row->removeWidget(old);
        old->deleteLater();
    }
    m_primary = nullptr;
    m_secondary = nullptr;
    const auto make = [&](const Button &button, bool filledLook, const QString &name) {
        auto *made = new PillButton(text(button.key.toLatin1().constData()), filledLook, m_buttonRow);
        made->setObjectName(name);
        connect(made, &QAbstractButton::clicked, this, [action = button.action] { action(); });
        row->addWidget(made);
        made->show();
        return made;
    };
    if (secondary)
        m_secondary = make(*secondary, false, u"updateSecondaryButton"_s);
    if (primary) {
        m_primary = make(*primary, true, u"updatePrimaryButton"_s);
        m_primary->setFocus();
    }
    m_buttonRow->setVisible(primary || secondary);
}

void UpdateWindow::showChecking()
{
    present(Page::checking, [this] {
        m_title->setText(text("upd.checking"));
        m_message->clear();
        m_message->setVisible(false);
        setButtons(Button{u"common.cancel"_s, [this] { Q_EMIT cancelRequested(); }}, std::nullopt);
    });
}

void UpdateWindow::showUpToDate(const QString &runningVersion)
{
    present(Page::upToDate, [this, runningVersion] {
        m_title->setText(text("upd.upToDateTitle"));
        m_message->setText(filled("upd.upToDateBody", {runningVersion}));
        m_message->setVisible(true);
        setButtons(std::nullopt, Button{u"common.ok"_s, [this] { dismiss(); }});
    });
}

void UpdateWindow::showAvailable(const AppcastItem &item, const QString &runningVersion)
{
    m_notesFailed = false;
    m_notes->setPlainText(QString());
    present(Page::available, [this, version = item.displayVersion(), runningVersion] {
        m_title->setText(text("upd.availableTitle"));
        m_message->setText(filled("upd.availableBody", {version, runningVersion}));
        m_message->setVisible(true);
        setButtons(Button{u"common.later"_s, [this] { Q_EMIT laterRequested(); }},
                   Button{u"upd.install"_s, [this] { Q_EMIT installRequested(); }});
    });
}

void UpdateWindow::setReleaseNotes(const QString &notes, bool html)
{
    m_notesFailed = false;
    if (html)
        m_notes->setHtml(notes);
    else
        m_notes->setPlainText(notes);
}

void UpdateWindow::setReleaseNotesUnavailable()
{
    m_notesFailed = true;
    m_notes->setPlainText(text("upd.notesUnavailable"));
}

void UpdateWindow::showDownloading(const QString &version)
{
    m_received = 0;
    m_total = 0;
    present(Page::downloading, [this, version] {
        m_title->setText(filled("upd.downloading", {version}));
        m_message->clear();
        m_message->setVisible(false);
        setButtons(Button{u"common.cancel"_s, [this] { Q_EMIT cancelRequested(); }}, std::nullopt);
    });
}

void UpdateWindow::setProgress(qint64 received, qint64 total)
{
    m_received = received;
    m_total = total;
    if (total > 0) {
        // Per mille: a package may exceed what an int counts in bytes.
        m_progress->setRange(0, 1000);
        m_progress->setValue(int(std::min<qint64>(1000, received * 1000 / total)));
        m_progressLabel->setText(filled("upd.progress", {dataSize(received), dataSize(total)}));
    } else {
        m_progress->setRange(0, 0);
        m_progressLabel->setText(dataSize(received));
    }
}

void UpdateWindow::showReadyToInstall(const QString &version)
{
    present(Page::readyToInstall, [this, version] {
        m_title->setText(filled("upd.consentTitle", {version}));
        m_message->setText(text("upd.consentBody"));
        m_message->setVisible(true);
        setButtons(Button{u"common.cancel"_s, [this] { Q_EMIT laterRequested(); }},
                   Button{u"upd.installNow"_s, [this] { Q_EMIT installConsented(); }});
    });
}

void UpdateWindow::showInstalling(const QString &version)
{
    present(Page::installing, [this, version] {
        m_title->setText(filled("upd.installing", {version}));
        m_message->clear();
        m_message->setVisible(false);
        setButtons(std::nullopt, std::nullopt);
    });
}

void UpdateWindow::showInstalled(const QString &version)
{
    present(Page::installed, [this, version] {
        m_title->setText(text("upd.installedTitle"));
        m_message->setText(filled("upd.installedBody", {version}));
        m_message->setVisible(true);
        setButtons(std::nullopt, Button{u"common.close"_s, [this] { dismiss(); }});
    });
}

QString UpdateWindow::errorMessage(UpdaterError error)
{
    switch (error) {
    case UpdaterError::feedUnreachable:
        return text("upd.err.unreachable");
    case UpdaterError::invalidFeed:
        return text("upd.err.invalidFeed");
    case UpdaterError::downloadFailed:
        return text("upd.err.download");
    case UpdaterError::sizeMismatch:
        return text("upd.err.size");
    case UpdaterError::signatureMismatch:
        return text("upd.err.signature");
    case UpdaterError::installFailed:
        return text("upd.err.install");
    }
    return text("upd.err.download");
}

void UpdateWindow::showError(UpdaterError error, const QString &detail)
{
    present(Page::error, [this, error] {
        m_title->setText(text("upd.errorTitle"));
        m_message->setText(errorMessage(error));
        m_message->setVisible(true);
        setButtons(std::nullopt, Button{u"common.ok"_s, [this] { dismiss(); }});
    });
    // Technical, for a support request: not translated.
    m_detail->setText(detail);
    m_detail->setVisible(!detail.isEmpty());
    adjustSize();
}

QString UpdateWindow::titleText() const
{
    return m_title->text();
}

QString UpdateWindow::messageText() const
{
    return m_message->isVisibleTo(this) ? m_message->text() : QString();
}

QString UpdateWindow::detailText() const
{
    return m_detail->text();
}

QString UpdateWindow::progressText() const
{
    return m_progressLabel->text();
}

QString UpdateWindow::releaseNotesText() const
{
    return m_notes->toPlainText();
}

int UpdateWindow::progressPercent() const
{
    if (m_progress->maximum() == 0)
        return -1;
    return m_progress->value() / 10;
}

void UpdateWindow::dismiss()
{
    m_closingQuietly = true;
    close();
    m_closingQuietly = false;
    Q_EMIT closed();
}

void UpdateWindow::closeEvent(QCloseEvent *event)
{
    event->accept();
    // The title bar's close button on a running step means "stop".
    if (!m_closingQuietly) {
        if (m_page == Page::checking || m_page == Page::downloading)
            Q_EMIT cancelRequested();
        else if (m_page == Page::available || m_page == Page::readyToInstall)
            Q_EMIT laterRequested();
        else
            Q_EMIT closed();
    }
}

} // namespace veilora
