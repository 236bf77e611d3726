// Mutated ELF files through the debugger's engine: open, index, read types, walk values, find
// lines. Whatever the bytes, each step ends in a result or an HException/ParserException.
#include "debug/DebugExpressionParser.h"
#include "debug/DwarfDebugger.h"
#include "debug/TextVariableView.h"
#include "foundation/HException.h"
#include <QTemporaryFile>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QTemporaryFile file;
    if (!file.open())
        return 0;
    file.write(reinterpret_cast<const char *>(data), qint64(size));
    file.flush();
    try {
        DwarfDebugger engine(file.fileName());
        DebugExpressionParser parser(engine);
        int walked = 0;
        for (const auto &symbol : engine.globals()) {
            if (++walked > 50)
                break;
            TextVariableView view;
            view.setElementLimit(8);
            try {
                view.walk(parser, QString(), parser.valueAt(symbol->type(), symbol->address()), Radix::Hexadecimal);
            } catch (const ParserException &) {
            }
            (void)symbol->typeName();
        }
        for (const char *text : {"flag_set.mid + path[1].x", "sizeof(struct flags)", "(octet_t)300",
                                 "ring_head->next->value", "addressof(\"layout.c\", 79)", "shade"}) {
            bool ok = false;
            (void)parser.evaluate(QString::fromLatin1(text), &ok);
        }
        (void)engine.symbols();
        (void)engine.sections();
        (void)engine.segments();
    } catch (const HException &) {
    }
    return 0;
}
