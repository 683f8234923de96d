// The update feed as the network delivers it: any bytes must give a feed or an
// error, and whatever items come out must order and select without fault.
#include "diagnostics/Appcast.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input = QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    QString error;
    const auto appcast = veilora::parseAppcast(input, &error);
    if (!appcast) {
        if (error.isEmpty())
            __builtin_trap();
        return 0;
    }
    for (const veilora::AppcastItem &item : appcast->items) {
        // Ordering must be antisymmetric whatever the version texts are.
        for (const veilora::AppcastItem &other : appcast->items) {
            const int forward = veilora::compareVersions(item.version, other.version);
            const int backward = veilora::compareVersions(other.version, item.version);
            if ((forward > 0) != (backward < 0) || (forward == 0) != (backward == 0))
                __builtin_trap();
        }
    }
    const QString running = appcast->items.isEmpty() ? QString() : appcast->items.front().shortVersionString;
    if (const auto best = veilora::newestApplicable(appcast->items, running)) {
        if (veilora::compareVersions(best->version, running) <= 0)
            __builtin_trap();
    }
    return 0;
}
