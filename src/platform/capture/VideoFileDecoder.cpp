#include "VideoFileDecoder.h"

#include <QFile>
#include <QFileInfo>

#include <cstdlib>
#include <dlfcn.h>

namespace veilora {

namespace {

// The installed module for an installed program, else the one of the build the
// program comes from; loaded once, never unloaded.
VeiloraOpenVideoFunction openFunction(QString *error)
{
    static const auto loaded = []() -> std::pair<VeiloraOpenVideoFunction, QString> {
        const QString program = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
        const bool installed = QFileInfo(program).path() == QStringLiteral(VEILORA_INSTALLED_BIN_DIR);
        const QString path = installed ? QStringLiteral(VEILORA_VIDEO_MODULE_INSTALLED)
                                       : QStringLiteral(VEILORA_VIDEO_MODULE_BUILT);
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
