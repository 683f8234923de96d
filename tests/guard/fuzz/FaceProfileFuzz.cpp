// Feeds arbitrary bytes to the face profile reader: it must never crash, and
// whatever it accepts must write back to bytes that read the same.
#include "guard/FaceProfileFormat.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace veilora;
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    if (const auto profile = decodeFaceProfile(bytes)) {
        const QByteArray written = encodeFaceProfile(profile->prints, profile->threshold);
        const auto again = decodeFaceProfile(written);
        if (!again || encodeFaceProfile(again->prints, again->threshold) != written)
            __builtin_trap();
    }
    return 0;
}
