// The parsers of the other languages on arbitrary text; see SyntaxFuzz.h.
#include "fuzz/SyntaxFuzz.h"
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {
constexpr const char *family[] = {"asm",  "python", "forth",     "cmake",    "dts",    "xml",   "vhdl",
                                  "yaml", "svf",    "tessbasic", "markdown", "docgen", "qvdoc", "disassembly"};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (!SyntaxFuzz::colourConsistently(QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size)),
                                        family))
        std::abort();
    return 0;
}
