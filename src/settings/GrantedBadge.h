#pragma once

#include <QColor>
#include <QLabel>

namespace veilora {

// "Granted" in green on a faint green capsule: a permission that needs nothing
// more. The same green reads on light and dark backgrounds, so it is fixed.
class GrantedBadge : public QLabel
{
    Q_OBJECT
public:
    explicit GrantedBadge(const QString &text, QWidget *parent = nullptr);

    static QColor green();

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace veilora
