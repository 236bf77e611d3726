// Feeds arbitrary bytes to the readers of the shared area, as if the other process had written
// them: the first byte picks a request or the reply of one command. A reader must accept or
// refuse with a message, never read past the area, and what it accepts must write back to
// bytes that read the same.
#include "clang/Protocol.h"
#include "foundation/HException.h"
#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

void checkRequest(const char *area, std::size_t size)
{
    ClangRequest request;
    try {
        request = readRequest(area, size);
    } catch (const HException &) {
        return;
    }
    QByteArray again(qsizetype(requestSize(request)), '\0');
    writeRequest(request, again.data(), std::size_t(again.size()));
    const ClangRequest back = readRequest(again.constData(), std::size_t(again.size()));
    if (back.mainPath != request.mainPath || back.arguments != request.arguments
        || back.unsaved.size() != request.unsaved.size() || back.line != request.line)
        std::abort();
}

void checkReply(ClangCommand command, const char *area, std::size_t size)
{
    ClangReply reply;
    try {
        reply = readReply(command, area, size);
    } catch (const HException &) {
        return;
    }
    // Bytes that are not UTF-8 come back as replacement characters of three bytes each.
    QByteArray again(qsizetype(size) * 3 + 64, '\0');
    const std::size_t used = writeReply(command, reply, again.data(), std::size_t(again.size()));
    const ClangReply back = readReply(command, again.constData(), used);
    if (back.status != reply.status || back.completions.size() != reply.completions.size()
        || back.symbols.size() != reply.symbols.size() || back.locations != reply.locations)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    // A copy of exactly the given size, so that reading past it is caught.
    const QByteArray area(reinterpret_cast<const char *>(data) + 1, qsizetype(size - 1));
    const int pick = data[0] % (clangCommandCount + 1);
    if (pick == clangCommandCount)
        checkRequest(area.constData(), std::size_t(area.size()));
    else
        checkReply(ClangCommand(pick), area.constData(), std::size_t(area.size()));
    return 0;
}
