#include "FooterNote.h"

namespace veilora {

FooterNote::FooterNote(const QString &text, QWidget *parent)
    : ToneLabel(text, 11, QFont::Normal, Theme::Tone::tertiary, parent)
{
    setWordWrap(true);
    setAlignment(Qt::AlignLeading | Qt::AlignTop);
    setContentsMargins(4, 4, 4, 4);
}

} // namespace veilora
