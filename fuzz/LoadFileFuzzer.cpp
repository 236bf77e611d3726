// Arbitrary bytes read as a text load file of one type (TESS_LOAD_FILE_TYPE, one target per
// reader). What reads without an error is written back by the same format's writer and read
// again: the sections must come back the same, in the same order.
#include "debug/CodeBuffer.h"
#include "debug/LoadFileFactory.h"
#include "debug/LoadFileInterface.h"
#include "foundation/HException.h"
#include <QFileInfo>
#include <QFile>
#include <QTemporaryDir>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

struct Stretch {
    quint32 address;
    QByteArray bytes;
    bool operator==(const Stretch &) const = default;
};

// The sections that hold bytes, in file order, with one that continues the one before joined to
// it: an empty section between them leaves no record that would keep them apart once written.
std::vector<Stretch> stretchesOf(LoadFileInterface &file)
{
    std::vector<Stretch> stretches;
    for (int i = 0; i < file.sectionCount(); ++i) {
        LoadFileSectionInterface *section = file.section(i);
        if (section->size() == 0)
            continue;
        const QByteArray bytes(reinterpret_cast<const char *>(section->data(false)), section->size());
        if (!stretches.empty()
            && quint64(stretches.back().address) + quint64(stretches.back().bytes.size()) == section->address())
            stretches.back().bytes += bytes;
        else
            stretches.push_back({section->address(), bytes});
    }
    return stretches;
}

const QTemporaryDir &scratch()
{
    // In memory where the machine offers it: every input is written and read back.
    static const QTemporaryDir directory = QFileInfo::exists(QStringLiteral("/dev/shm"))
                                               ? QTemporaryDir(QStringLiteral("/dev/shm/loadfile-fuzz-XXXXXX"))
                                               : QTemporaryDir();
    return directory;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > (1 << 20))
        return 0;
    const QString type = QStringLiteral(TESS_LOAD_FILE_TYPE);
    const QString input = scratch().filePath(QStringLiteral("input"));
    const QString output = scratch().filePath(QStringLiteral("output"));
    {
        QFile file(input);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            std::abort();
        file.write(reinterpret_cast<const char *>(data), qint64(size));
    }
    std::vector<Stretch> first;
    try {
        const std::unique_ptr<LoadFileInterface> file = LoadFileFactory::create(input, type);
        first = stretchesOf(*file);
        const std::unique_ptr<CodeBuffer> buffer = LoadFileFactory::createBuffer(output, type, {});
        for (const Stretch &stretch : first) {
            buffer->setAddress(stretch.address);
            buffer->addBytes(reinterpret_cast<const uchar *>(stretch.bytes.constData()), stretch.bytes.size());
        }
        buffer->finish(0);
    } catch (const HException &) {
        return 0;
    }
    const std::unique_ptr<LoadFileInterface> again = LoadFileFactory::create(output, type);
    if (stretchesOf(*again) != first)
        std::abort();
    return 0;
}
