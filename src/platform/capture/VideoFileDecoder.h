#pragma once

#include <QString>

#include <memory>
#include <opencv2/core/mat.hpp>

namespace veilora {

// Reads the frames of a video file in order. The decoders (FFmpeg and all it
// brings) live in a module of their own, "veilora-video.so", loaded only when a
// video is played as a camera: linked into the application they would add some
// 40 MB to every process that never plays one.
class VideoFileDecoder
{
public:
    virtual ~VideoFileDecoder() = default;

    // Frames per second as the file states it; 0 when it does not.
    virtual double frameRate() const = 0;
    // Decodes the next frame (BGR) into `picture`; false at the end or on damage.
    virtual bool read(cv::Mat &picture) = 0;
    // Passes the next frame without converting it.
    virtual bool skip() = 0;
    // Goes to frame `index` (as near as the container allows).
    virtual void seek(qint64 index) = 0;

    // The file's decoder, or null with the reason in `error` when the module or
    // the file cannot be used.
    static std::unique_ptr<VideoFileDecoder> open(const QString &path, QString *error);
};

} // namespace veilora

// What the module exports. `error` receives a malloc'd message on failure.
extern "C" {
using VeiloraOpenVideoFunction = veilora::VideoFileDecoder *(*)(const char *path, char **error);
}
