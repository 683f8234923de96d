#pragma once

#include <QImage>
#include <QWidget>

namespace veilora {

// The live picture of the camera as a self view: mirrored, like a mirror, and
// filling the whole frame (cropped, never letterboxed), inside rounded corners
// with a hairline edge. Until the first frame, or when `setPlaceholder` says why
// none will come, it shows that text on a dark ground instead.
class CameraPreviewView : public QWidget
{
    Q_OBJECT
public:
    static constexpr int cornerRadius = 12;

    explicit CameraPreviewView(QWidget *parent = nullptr);

    QSize sizeHint() const override { return {400, 300}; }

    // Takes the newest frame; frames are shown, never queued up.
    void showFrame(const QImage &frame);
    void setPlaceholder(const QString &text);

    bool hasFrame() const { return !m_frame.isNull(); }
    const QString &placeholder() const { return m_placeholder; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QImage m_frame;
    QString m_placeholder;
};

} // namespace veilora
