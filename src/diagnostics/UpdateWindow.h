#pragma once

#include "UpdaterSession.h"
#include "controls/PillButton.h"

#include <QPointer>
#include <QWidget>

#include <functional>

class QLabel;
class QProgressBar;
class QTextBrowser;

namespace veilora {

// The updater's one window, showing one step at a time: checking, up to date,
// update available with its release notes, downloading, ready to install (the
// person's consent), installing, installed, or an error. It only shows and
// reports clicks; UpdaterController decides what happens.
class UpdateWindow : public QWidget
{
    Q_OBJECT

public:
    enum class Page
    {
        checking,
        upToDate,
        available,
        downloading,
        readyToInstall,
        installing,
        installed,
        error,
    };

    explicit UpdateWindow(QWidget *parent = nullptr);

    Page page() const { return m_page; }

    void showChecking();
    void showUpToDate(const QString &runningVersion);
    void showAvailable(const AppcastItem &item, const QString &runningVersion);
    void setReleaseNotes(const QString &text, bool html);
    void setReleaseNotesUnavailable();
    void showDownloading(const QString &version);
    void setProgress(qint64 received, qint64 total);
    void showReadyToInstall(const QString &version);
    void showInstalling(const QString &version);
    void showInstalled(const QString &version);
    void showError(UpdaterError error, const QString &detail);

    // What a person reads, for tests and screenshots.
    QString titleText() const;
    QString messageText() const;
    QString detailText() const;
    QString progressText() const;
    QString releaseNotesText() const;
    int progressPercent() const; // -1: indeterminate
    PillButton *primaryButton() const { return m_primary; }
    PillButton *secondaryButton() const { return m_secondary; }

    static QString errorMessage(UpdaterError error);

Q_SIGNALS:
    void cancelRequested();  // checking or downloading
    void installRequested(); // "Install Update" on an available update
    void laterRequested();   // "Later" on an available update, or no consent
    void installConsented();
    void closed(); // the window went away by its close button, OK or Close

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    struct Button
    {
        QString key;
        std::function<void()> action;
    };
    // Sets the page and the texts that follow the interface language; run again
    // when the language changes.
    void present(Page page, std::function<void()> texts);
    void setButtons(std::optional<Button> secondary, std::optional<Button> primary);
    void applyTexts();
    void dismiss();

    Page m_page = Page::checking;
    std::function<void()> m_texts;
    QLabel *m_icon = nullptr;
    QLabel *m_title = nullptr;
    QLabel *m_message = nullptr;
    QProgressBar *m_progress = nullptr;
    QLabel *m_progressLabel = nullptr;
    QTextBrowser *m_notes = nullptr;
    QLabel *m_detail = nullptr;
    QWidget *m_buttonRow = nullptr;
    QPointer<PillButton> m_primary;
    QPointer<PillButton> m_secondary;
    qint64 m_received = 0;
    qint64 m_total = 0;
    bool m_notesFailed = false;
    bool m_closingQuietly = false;
};

} // namespace veilora
