// xmlcp: reads one XML file, resolves its preprocessor directives and macros, writes the result.
//
//   xmlcp infile outfile [definitions [doctype]]
//   xmlcp -xhtml infile outfile [definitions]
#include "foundation/Directories.h"
#include "foundation/DocumentationPage.h"
#include "foundation/HException.h"
#include "foundation/MacroSession.h"
#include "foundation/XMLPP2.h"
#include <QDir>
#include <QFileInfo>
#include <QHashFunctions>
#include <QString>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <unistd.h>

namespace {

// The tool's document: any preprocessor message ends the run.
class MyXMLPP2 : public XMLPP2 {
public:
    MyXMLPP2() : XMLPP2(0) {}
    void error(const QString &message) override
    {
        std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
        std::exit(1);
    }
};

QString argument(char **argv, int index)
{
    return QString::fromLocal8Bit(argv[index]);
}

QString executablePath(const char *argv0)
{
    char buffer[1024];
    const ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer);
    if (length <= 0 || size_t(length) >= sizeof buffer)
        return QString::fromLocal8Bit(argv0);
    return QString::fromLocal8Bit(buffer, length);
}

int usage(const char *argv0)
{
    std::fprintf(stderr, "%s: <infile> <outfile> [macro1=value;macro2=value;..]\n", argv0);
    return 1;
}

int plainMode(int argc, char **argv)
{
    MyXMLPP2 document;
    if (!document.load(argument(argv, 1), argc > 3 ? argument(argv, 3) : QString(), true)) {
        std::fprintf(stderr, "load error %s at %d\n", document.errorText(),
                     document.errorLine());
        return 1;
    }
    if (argc == 5)
        document.setDocType(xmlDuplicate(argv[4]));
    // Not checked: an output that cannot be written is not reported.
    (void)document.save(argument(argv, 2), 2, 0);
    return 0;
}

int xhtmlMode(int argc, char **argv)
{
    try {
        DocumentationPage page;
        if (argc > 4 && argv[4][0] != '\0')
            page.addDefinitions(argument(argv, 4));
        page.load(argument(argv, 2));
        page.save(argument(argv, 3));
    } catch (const HException &exception) {
        std::fprintf(stderr, "error: %s\n", exception.message().toLocal8Bit().constData());
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    // The page writer lists attributes in hash order: the same input gives the same output.
    QHashSeed::setDeterministicGlobalSeed();
    setUpProgramDirectories(executablePath(argv[0]));
    const MacroSession macros;
    if (argc < 3)
        return usage(argv[0]);

    const bool xhtml = std::strcmp(argv[1], "-xhtml") == 0;
    if (xhtml && argc < 4)   // the output would be missing
        return usage(argv[0]);
    return xhtml ? xhtmlMode(argc, argv) : plainMode(argc, argv);
}
