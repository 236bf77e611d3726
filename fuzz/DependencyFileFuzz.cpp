#include "buildengine/DependencyFile.h"
#include <cstdint>
#include <cstdlib>

// Arbitrary bytes as a dependency file: never more names than blanks-separated words.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArrayView bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const QStringList names = parseDependencies(bytes);
    if (names.size() > bytes.size())
        std::abort();
    for (const QString &name : names) {
        if (name.isEmpty())
            std::abort();
    }
    return 0;
}
