#pragma once

#include <QFont>
#include <QPointer>
#include <QWidget>

#include <optional>
#include <vector>

class QHBoxLayout;

namespace veilora {

class ToneLabel;

// One line of a card: a title with an optional subtitle under it on the leading
// side, and the row's control or controls on the trailing side.
class SettingsRow : public QWidget
{
    Q_OBJECT
public:
    SettingsRow(const QString &title, const std::optional<QString> &subtitle,
                QFont::Weight titleWeight = QFont::Normal, QWidget *parent = nullptr);

    QString title() const;
    void setTitle(const QString &title);
    std::optional<QString> subtitle() const;
    void setSubtitle(const std::optional<QString> &subtitle);

    // Trailing controls, leading to trailing in the order added.
    void addControl(QWidget *control);
    // A control that the row's title names for assistive technology (a switch,
    // a dropdown), unlike a button that has its own text.
    void addLabelledControl(QWidget *control);

private:
    void updateAccessibleText();

    ToneLabel *m_title;
    ToneLabel *m_subtitle;
    QHBoxLayout *m_controls;
    std::vector<QPointer<QWidget>> m_labelled;
};

} // namespace veilora
