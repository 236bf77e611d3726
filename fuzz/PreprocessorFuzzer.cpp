// Runs both preprocessors on arbitrary input. The first line is taken as macro definitions, the
// rest as the document. Includes reach only a scratch directory holding the input itself and a
// few fixed parts, so cycles, envelopes and broken parts are all within reach.
#include "foundation/MacroSession.h"
#include "foundation/Report.h"
#include "foundation/XMLPP2.h"
#include "foundation/XmlPP.h"
#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace {

struct Scratch {
    QTemporaryDir dir;
    QString root = QFileInfo(dir.path()).canonicalFilePath();
    MacroSession macros{root};   // $(VarnelDir) is the scratch directory
};

Scratch &scratch()
{
    static Scratch *instance = [] {
        auto *made = new Scratch;
        const char *const parts[][2] = {
            {"part.xml", "<p a=\"$(a)\"><if a=\"1\"><x/></if><include filename=\"main.xml\"/></p>"},
            {"envelope.xml", "<envelope><for index=\"i\" start=\"0\" end=\"3\" incr=\"1\"><e n=\"$(i)\"/></for></envelope>"},
            {"broken.xml", "<a><b></a>"},
            {"empty.xml", ""},
        };
        for (const auto &part : parts) {
            QFile file(made->dir.filePath(part[0]));
            if (file.open(QIODevice::WriteOnly))
                file.write(part[1]);
        }
        return made;
    }();
    return *instance;
}

// Records instead of ending, and reads nothing outside the scratch directory.
class FuzzedDocument : public XMLPP2 {
public:
    void error(const QString &message) override { ++m_errors, (void)message; }

protected:
    bool mayInclude(const QString &path) const override
    {
        const QString canonical = QFileInfo(path).canonicalFilePath();
        return !canonical.isEmpty() && canonical.startsWith(scratch().root + '/');
    }

private:
    int m_errors = 0;
};

void runXmlpp2(const QString &path, const QString &definitions, bool expand)
{
    FuzzedDocument document;
    XMLPP2::Limits limits;
    limits.nesting = 64;
    limits.includeDepth = 6;
    limits.includeFiles = 40;
    limits.createdElements = 20000;
    limits.loopRounds = 50000;
    document.setLimits(limits);
    if (document.load(path, definitions, expand))
        (void)document.saveBuffer(2, 40);
}

// The page preprocessor has no include guard of its own, so pages that include are skipped.
void runXmlpp(const QByteArray &page)
{
    if (page.contains("include"))
        return;
    XmlPP preprocessor;
    QByteArray bytes = page;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    if (!preprocessor.read(&buffer, nullptr, nullptr, nullptr))
        return;
    preprocessor.processConditionals(preprocessor.document, "page.xml", preprocessor.macros, true);
    (void)preprocessor.document.toString(2);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > (1 << 16))
        return 0;
    Scratch &state = scratch();
    const QByteArray input(reinterpret_cast<const char *>(data), qsizetype(size));
    const qsizetype newline = input.indexOf('\n');
    const QString definitions = newline < 0 ? QString() : QString::fromUtf8(input.left(newline));
    const QByteArray document = newline < 0 ? input : input.mid(newline + 1);
    const QString path = state.dir.filePath("main.xml");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    file.write(document);
    file.close();
    runXmlpp2(path, definitions, true);
    runXmlpp2(path, definitions, false);
    runXmlpp(document);
    return 0;
}
