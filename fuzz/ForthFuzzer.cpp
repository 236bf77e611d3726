// Feeds arbitrary text to the outer interpreter of a fresh engine with tight limits: a small step
// budget, little data space, short strings and files. The engine and all it made go with the
// input, so no input sees what an earlier one left. File words work inside a scratch directory
// that is emptied after every input, so the fuzzer never touches anything else.
#include "script/forth/ScriptEngine.h"
#include <QDir>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>

namespace {

class Discard : public ForthScriptMessageInterface {
public:
    void type(const QString &) override {}
    void error(const QString &) override {}
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QTemporaryDir scratch;
    Discard discard;
    ScriptEngine engine(&discard);
    ForthLimits limits;
    limits.steps = 2000;
    limits.memoryCells = 1 << 12;
    limits.stringLength = 1 << 12;
    limits.openFiles = 8;
    limits.fileBytes = 1 << 12;
    limits.sourceDepth = 8;
    limits.nativeStackBytes = 1 << 20;
    engine.setLimits(limits);
    engine.setFileRoot(scratch.path());
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    (void)engine.evaluateText(text, QStringLiteral("fuzz"));
    (void)engine.interpretLine(QStringLiteral(".S"));
    QDir dir(scratch.path());
    for (const QString &name : dir.entryList(QDir::Files | QDir::Hidden | QDir::System))
        dir.remove(name);
    return 0;
}
