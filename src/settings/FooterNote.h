#pragma once

#include "ToneLabel.h"

namespace veilora {

// Explanatory small print under a card.
class FooterNote : public ToneLabel
{
    Q_OBJECT
public:
    explicit FooterNote(const QString &text, QWidget *parent = nullptr);
};

} // namespace veilora
