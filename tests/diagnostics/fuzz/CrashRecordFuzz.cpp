// The two readers of what a crash leaves behind: the crash record itself, and
// the symbol tables of the modules it names, which may have changed or been
// damaged since. Even bytes go to the record reader, odd ones to the ELF reader.
#include "platform/crash/CrashRecord.h"
#include "platform/crash/ElfSymbols.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const QByteArrayView input(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1));
    if (data[0] % 2 == 0) {
        if (const auto record = veilora::CrashRecord::parse(input)) {
            // Whatever was accepted is a whole record: it describes every frame.
            for (const auto &module : record->modules)
                if (module.end <= module.start)
                    __builtin_trap();
        }
    } else if (const auto symbols = veilora::ElfSymbols::parse(input)) {
        for (const quint64 address : {quint64(0), quint64(0x1000), ~quint64(0)}) {
            if (const auto *function = symbols->functionAt(address))
                (void)veilora::demangledName(function->name);
            (void)symbols->addressOfFileOffset(address);
        }
    }
    return 0;
}
