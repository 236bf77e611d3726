// Feeds arbitrary bytes to the XML parser with and without character data, writes what was
// parsed in two layouts, clones it and reads the writer's output back.
#include "foundation/XMLDocument.h"
#include <cstddef>
#include <cstdint>

namespace {

void roundTrip(const char *text, qsizetype size, int keepData)
{
    XMLDocument document(keepData);
    (void)document.parseBuffer(text, size);
    const QByteArray flat = document.saveBuffer(0, 0);
    if (document.root())
        delete document.cloneNode(document.root(), nullptr);
    XMLDocument again(keepData);
    (void)again.parseBuffer(flat.constData(), flat.size());
    (void)document.saveBuffer(2, 40);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > (1 << 20))
        return 0;
    const auto *text = reinterpret_cast<const char *>(data);
    roundTrip(text, qsizetype(size), 0);
    roundTrip(text, qsizetype(size), 1);
    return 0;
}
