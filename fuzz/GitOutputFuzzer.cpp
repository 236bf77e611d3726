// Feeds arbitrary bytes to the readers of git's output, as if git had printed them: the first
// byte picks the reader. A reader must accept or refuse with a message, never crash, and what it
// accepts must turn into status lines.
#include "sourcecontrol/PorcelainStatus.h"
#include "sourcecontrol/git/GitOutput.h"
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray output(reinterpret_cast<const char *>(data) + 1, qsizetype(size - 1));
    QString error;
    switch (data[0] % 3) {
    case 0: {
        std::vector<SourceControlFileStatus> files;
        if (!readStatus(output, files, &error) && error.isEmpty())
            std::abort();
        for (const SourceControlFileStatus &file : files) {
            if (file.path.isEmpty() || file.status.isEmpty())
                std::abort();
            (void)porcelainLine(file, (data[0] & 4) != 0);
        }
        break;
    }
    case 1: {
        std::vector<SourceControlLogEntry> entries;
        if (!readLog(output, entries, &error) && error.isEmpty())
            std::abort();
        break;
    }
    default: {
        std::vector<SourceControlFileStatus> files;
        if (!readHistory(output, files, &error) && error.isEmpty())
            std::abort();
        for (const SourceControlFileStatus &file : files) {
            if (file.revision.isEmpty())
                std::abort();
        }
        break;
    }
    }
    return 0;
}
