// The parsers of the C family on arbitrary text; see SyntaxFuzz.h.
#include "fuzz/SyntaxFuzz.h"
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {
constexpr const char *family[] = {"c", "java", "javascript", "linkscript", "xc", "md", "stapl", "batch"};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (!SyntaxFuzz::colourConsistently(QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size)),
                                        family))
        std::abort();
    return 0;
}
