#include "VideoFileDecoder.h"

#include <QFile>
#include <QFileInfo>

#include <cstdlib>
#include <dlfcn.h>

namespace veilora {

namespace {

// The module beside the build, else the installed one; loaded once, never unloaded.
VeiloraOpenVideoFunction openFunction(QString *error)
{
    static const auto loaded = []() -> std::pair<VeiloraOpenVideoFunction, QString> {
        const QString built = QStringLiteral(VEILORA_VIDEO_MODULE_BUILT);
        const QString path =
            QFileInfo::exists(built) ? built : QStringLiteral(VEILORA_VIDEO_MODULE_INSTALLED);
        void *module = ::dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_LOCAL);
        if (!module)
            return {nullptr,
                    QStringLiteral("cannot load the video module: ") + QString::fromLocal8Bit(::dlerror())};
        auto *function = reinterpret_cast<VeiloraOpenVideoFunction>(::dlsym(module, "veiloraOpenVideo"));
        if (!function)
            return {nullptr, QStringLiteral("the video module %1 is not ours").arg(path)};
        return {function, {}};
    }();
    *error = loaded.second;
    return loaded.first;
}

} // namespace

std::unique_ptr<VideoFileDecoder> VideoFileDecoder::open(const QString &path, QString *error)
{
    const VeiloraOpenVideoFunction function = openFunction(error);
    if (!function)
        return nullptr;
    char *message = nullptr;
    std::unique_ptr<VideoFileDecoder> decoder(function(QFile::encodeName(path).constData(), &message));
    if (!decoder) {
        *error = message ? QString::fromUtf8(message) : QStringLiteral("not a readable video");
        std::free(message);
    }
    return decoder;
}

} // namespace veilora
