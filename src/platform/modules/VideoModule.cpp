// veilora-video.so: video files decoded by OpenCV's FFmpeg backend, for
// VideoFileDecoder. Loaded with dlopen; nothing else of the application is here.
#include "platform/capture/VideoFileDecoder.h"

#include <cstdlib>
#include <cstring>
#include <opencv2/videoio.hpp>

namespace {

class OpenCvVideoDecoder : public veilora::VideoFileDecoder
{
public:
    double frameRate() const override { return m_video.get(cv::CAP_PROP_FPS); }
    bool read(cv::Mat &picture) override
    {
        return guarded([&] { return m_video.read(picture); });
    }
    bool skip() override
    {
        return guarded([&] { return m_video.grab(); });
    }
    void seek(qint64 index) override
    {
        guarded([&] { return m_video.set(cv::CAP_PROP_POS_FRAMES, double(index)); });
    }

    cv::VideoCapture m_video;

private:
    // A damaged stream can throw from deep inside the backend.
    template <typename F>
    static bool guarded(F &&step)
    {
        try {
            return step();
        } catch (const cv::Exception &) {
            return false;
        }
    }
};

char *copied(const char *message)
{
    char *copy = static_cast<char *>(std::malloc(std::strlen(message) + 1));
    if (copy)
        std::strcpy(copy, message);
    return copy;
}

} // namespace

extern "C" __attribute__((visibility("default"))) veilora::VideoFileDecoder *
veiloraOpenVideo(const char *path, char **error)
{
    auto decoder = std::make_unique<OpenCvVideoDecoder>();
    try {
        if (decoder->m_video.open(path, cv::CAP_FFMPEG) && decoder->m_video.isOpened())
            return decoder.release();
        *error = copied("not a readable video or image");
    } catch (const cv::Exception &exception) {
        *error = copied((std::string("not a readable video: ") + exception.msg).c_str());
    }
    return nullptr;
}
