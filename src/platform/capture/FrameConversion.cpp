#include "FrameConversion.h"

#include "CaptureSource.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

namespace veilora {

cv::Mat bgraView(const QImage &image, QImage *storage)
{
    const QImage *source = &image;
    if (image.format() != QImage::Format_RGB32 && image.format() != QImage::Format_ARGB32) {
        if (!storage)
            return {};
        *storage = image.convertToFormat(QImage::Format_RGB32);
        source = storage;
    }
    if (source->isNull())
        return {};
    // constBits() keeps a shared image from detaching; OpenCV only reads it.
    return cv::Mat(source->height(), source->width(), CV_8UC4, const_cast<uchar *>(source->constBits()),
                   static_cast<size_t>(source->bytesPerLine()));
}

QImage blankCaptureFrame(QImage recycled)
{
    if (recycled.width() == CaptureSource::frameWidth && recycled.height() == CaptureSource::frameHeight &&
        recycled.format() == QImage::Format_RGB32 && recycled.isDetached())
        return recycled;
    return QImage(CaptureSource::frameWidth, CaptureSource::frameHeight, QImage::Format_RGB32);
}

QImage captureFrame(const cv::Mat &picture, QImage recycled)
{
    if (picture.empty() || (picture.type() != CV_8UC3 && picture.type() != CV_8UC4))
        return {};
    const int width = CaptureSource::frameWidth, height = CaptureSource::frameHeight;
    // Cut the part that fills the frame's aspect first, then scale only that.
    const double scale = std::max(double(width) / picture.cols, double(height) / picture.rows);
    const int cutWidth = std::min(picture.cols, int(width / scale + 0.5));
    const int cutHeight = std::min(picture.rows, int(height / scale + 0.5));
    const cv::Mat cut =
        picture(cv::Rect((picture.cols - cutWidth) / 2, (picture.rows - cutHeight) / 2, cutWidth, cutHeight));

    QImage frame = blankCaptureFrame(std::move(recycled));
    cv::Mat target(height, width, CV_8UC4, frame.bits(), static_cast<size_t>(frame.bytesPerLine()));
    const cv::Size size(width, height);
    const int interpolation = scale < 1 ? cv::INTER_AREA : cv::INTER_LINEAR;
    thread_local cv::Mat scratch; // reused for the same reason as the frames
    if (cut.size() == size) {
        if (cut.channels() == 3)
            cv::cvtColor(cut, target, cv::COLOR_BGR2BGRA);
        else
            cut.copyTo(target);
    } else if (cut.channels() == 4) {
        cv::resize(cut, target, size, 0, 0, interpolation);
    } else if (cut.total() < target.total()) {
        cv::cvtColor(cut, scratch, cv::COLOR_BGR2BGRA);
        cv::resize(scratch, target, size, 0, 0, interpolation);
    } else {
        cv::resize(cut, scratch, size, 0, 0, interpolation);
        cv::cvtColor(scratch, target, cv::COLOR_BGR2BGRA);
    }
    return frame;
}

} // namespace veilora
