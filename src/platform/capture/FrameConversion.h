#pragma once

#include <QImage>

#include <opencv2/core/mat.hpp>

namespace veilora {

// The pixels of a Format_RGB32 or Format_ARGB32 image as a 4-channel BGRA matrix,
// without copying; valid while the image is alive and unmodified. Other formats
// are converted first (the copy then lives in `storage`).
cv::Mat bgraView(const QImage &image, QImage *storage = nullptr);

// A capture frame (640 × 480, Format_RGB32) made from a BGR or BGRA picture of any
// size: scaled until it fills the frame, with the overhang cut off evenly, as a
// camera's 640 × 480 mode frames a wider or taller sensor.
//
// Written into `recycled` when that is an earlier frame nobody holds any more:
// at a few frames a second, fresh 1.2 MB buffers cost more in page faults than
// the conversion itself.
QImage captureFrame(const cv::Mat &picture, QImage recycled = QImage());

// An empty 640 × 480 frame, `recycled` when possible (see above).
QImage blankCaptureFrame(QImage recycled = QImage());

} // namespace veilora
