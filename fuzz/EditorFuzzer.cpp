// Arbitrary bytes loaded as a document and a fuzzed edit script replayed on it: undoing
// everything must give back the loaded text, and redoing it the edited one.
#include "fuzz/EditorReplay.h"
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (!replayKeepsHistory(QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size))))
        std::abort();
    return 0;
}
