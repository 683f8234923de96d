#include "SettingsRow.h"

#include "ToneLabel.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace veilora {

SettingsRow::SettingsRow(const QString &title, const std::optional<QString> &subtitle,
                         QFont::Weight titleWeight, QWidget *parent)
    : QWidget(parent)
    , m_title(new ToneLabel(title, 13, titleWeight, Theme::Tone::primary))
    , m_subtitle(new ToneLabel(subtitle.value_or(QString()), 11, QFont::Normal, Theme::Tone::tertiary))
    , m_controls(new QHBoxLayout)
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(16, 13, 16, 13);
    row->setSpacing(12);

    auto *text = new QVBoxLayout;
    text->setSpacing(2);
    text->setContentsMargins(0, 0, 0, 0);
    m_title->setWordWrap(true);
    m_subtitle->setWordWrap(true);
    m_subtitle->setVisible(subtitle.has_value());
    text->addWidget(m_title);
    text->addWidget(m_subtitle);

    auto *column = new QWidget;
    column->setLayout(text);
    column->setMinimumWidth(180);
    column->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    row->addWidget(column, 1, Qt::AlignVCenter);

    m_controls->setSpacing(8);
    m_controls->setContentsMargins(0, 0, 0, 0);
    row->addLayout(m_controls);
    row->setAlignment(m_controls, Qt::AlignVCenter);
}

QString SettingsRow::title() const
{
    return m_title->text();
}

void SettingsRow::setTitle(const QString &title)
{
    m_title->setText(title);
    updateAccessibleText();
}

std::optional<QString> SettingsRow::subtitle() const
{
    return m_subtitle->isVisibleTo(this) ? std::optional(m_subtitle->text()) : std::nullopt;
}

void SettingsRow::setSubtitle(const std::optional<QString> &subtitle)
{
    m_subtitle->setText(subtitle.value_or(QString()));
    m_subtitle->setVisible(subtitle.has_value());
    updateAccessibleText();
}

void SettingsRow::addControl(QWidget *control)
{
    m_controls->addWidget(control, 0, Qt::AlignVCenter);
}

void SettingsRow::addLabelledControl(QWidget *control)
{
    addControl(control);
    m_labelled.emplace_back(control);
    updateAccessibleText();
}

void SettingsRow::updateAccessibleText()
{
    for (const auto &control : m_labelled) {
        if (!control)
            continue;
        control->setAccessibleName(m_title->text());
        control->setAccessibleDescription(m_subtitle->isVisibleTo(this) ? m_subtitle->text() : QString());
    }
}

} // namespace veilora
