#include "script/host/DebugScriptObjectClass.h"
#include "debug/BaseType.h"
#include "debug/DebugExpressionParser.h"
#include "debug/DwarfDebugger.h"
#include "debug/JavaScriptVariableView.h"
#include "debug/SymbolInformation.h"
#include "foundation/HException.h"
#include "script/host/ScriptDebugSession.h"
#include "script/es/ESContext.h"
#include <algorithm>

namespace {

constexpr HostFunctionRow debugRows[] = {
    {0, "breakexpr", 1, nullptr, "<b>Debug.breakexpr(expression, count, hardware)</b> set a breakpoint on <i>expression</i>, with optional ignore <i>count</i> and use <i>hardware</i> parameters. Return the, none zero, allocated breakpoint number."},
    {1, "breakline", 2, nullptr, "<b>Debug.breakline(filename, linenumber, temporary, count, hardware)</b> set a breakpoint on <i>filename</i> and <i>linenumber</i>, with optional <i>temporary</i>, ignore <i>count</i> and use <i>hardware</i> parameters. Return the, none zero, allocated breakpoint number."},
    {3, "breaknow", 0, nullptr, "<b>Debug.breaknow()</b> break execution now."},
    {4, "deletebreak", 1, nullptr, "<b>Debug.deletebreak(number)</b> delete the specified breakpoint or all breakpoints if zero is supplied."},
    {5, "showbreak", 1, nullptr, "<b>Debug.showbreak(number)</b> show information on the specified breakpoint or all breakpoints if zero is supplied."},
    {6, "showexceptions", 1, nullptr, "<b>Debug.showexceptions()</b> show the exceptions."},
    {7, "enableexception", 1, nullptr, "<b>Debug.enableexception(exception, enable)</b> <i>enable</i> break on <i>exception</i>."},
    {8, "stepinto", 0, nullptr, "<b>Debug.stepinto()</b> step an instruction or a statement."},
    {9, "stepover", 0, nullptr, "<b>Debug.stepover()</b> step an instruction or a statement stepping over function calls."},
    {11, "stepout", 0, nullptr, "<b>Debug.stepout()</b> continue execution and break on return from current function."},
    {10, "go", 0, nullptr, "<b>Debug.go()</b> continue execution."},
    {12, "evaluate", 1, nullptr, "<b>Debug.evaluate(expression)</b> evaluates debug <i>expression</i> and returns it as a JavaScript value."},
    {14, "print", 1, nullptr, "<b>Debug.print(expression, fmt)</b> evaluate and display debug<i>expression</i> using optional <i>fmt</i>. Supported formats are <i>b</i> binary, <i>c</i> character, <i>d</i> decimal, <i>e</i> scientific float, <i>f</i> decimal float, <i>g</i> scientific or decimal float, <i>i</i> signed decimal, <i>o</i> octal, <i>p</i> pointer value, <i>s</i> null terminated string, <i>u</i> unsigned decimal, <i>x</i> hexadecimal."},
    {15, "printregisters", 0, nullptr, "<b>Debug.printregisters()</b> display CPU registers."},
    {16, "printlocals", 1, nullptr, "<b>Debug.printlocals()</b> display local variables."},
    {17, "printglobals", 1, nullptr, "<b>Debug.printglobals()</b> display global variables."},
    {18, "wait", 1, nullptr, "<b>Debug.wait(ms)</b> wait <i>ms</i> millseconds for a breakpoint and return the number of the breakpoint that hit."},
    {19, "stopped", 0, nullptr, "<b>Debug.stopped()</b> return stopped state."},
    {20, "quit", 0, nullptr, "<b>Debug.quit()</b> stop debugging."},
    {22, "locate", 0, nullptr, "<b>Debug.locate(frame)</b> locate the debugger to the optional <i>frame</i> context."},
    {23, "locatepc", 1, nullptr, "<b>Debug.locatepc(pc)</b> locate the debugger to the specified <i>pc</i>."},
    {24, "locateregisters", 0, nullptr, "<b>Debug.locateregisters(registers)</b> locate the debugger to the specified <i>register</i> context."},
    {21, "where", 0, nullptr, "<b>Debug.where()</b> display call stack."},
    {25, "disassembly", 0, nullptr, "<b>Debug.disassembly(source, labels, before, after)</b> set debugger mode to disassembly mode. Optionally specify <i>source</i> and <i>labels</i> to be displayed and the number of bytes to disassemble <i>before</i> and <i>after</i> the located program counter."},
    {26, "source", 0, nullptr, "<b>Debug.source(before, after)</b> set debugger mode to source mode. Optionally specify the number of source lines to display <i>before</i> and <i>after</i> the location."},
    {27, "getfilename", 0, nullptr, "<b>Debug.getfilename()</b> return located filename."},
    {28, "getlinenumber", 0, nullptr, "<b>Debug.getlineumber()</b> return located linenumber."},
    {29, "setprintradix", 1, nullptr, "<b>Debug.setprintradix(radix)</b> set the default radix for printing variables."},
    {30, "setprintarray", 1, nullptr, "<b>Debug.setprintarray(elements)</b> set the maximum number of array elements for printing variables."},
    {31, "setprintstring", 1, nullptr, "<b>Debug.setprintstring(c)</b> set the default to print character pointers as strings."},
    {32, "echo", 1, nullptr, "<b>Debug.echo(s)</b> display string."},
    {33, "getfunction", 1, nullptr, "<b>Debug.getfunction(address)</b> return function name containing address."},
};

// Functions that act on a running target: breakpoints, execution, registers, frames.
constexpr int targetFunctions[] = {0, 1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 15, 16, 18, 21, 22, 24};

// The radixes setprintradix takes.
constexpr std::pair<int, Radix> printRadixes[] = {
    {2, Radix::Binary}, {8, Radix::Octal}, {10, Radix::Decimal}, {16, Radix::Hexadecimal},
};

constexpr qint64 maxPrintElements = 100000000;
constexpr quint64 maxAddress = (quint64(1) << 53) - 1;   // exact in a script's number

bool isCharPointer(DebugExpressionParser &parser, const ExpressionValue &value)
{
    const BaseType *type = resolvedType(parser.typeOf(value));
    if (!type || type->kind() != TypeKind::Pointer)
        return false;
    const BaseType *target = resolvedType(&static_cast<const PointerType *>(type)->target());
    return target && target->size() == 1 && target->name().contains(QLatin1String("char"));
}

} // namespace

DebugScriptObjectClass::DebugScriptObjectClass(const HostServices &services)
    : HostClass(QStringLiteral("Debug"), debugRows), m_services(services)
{
}

void DebugScriptObjectClass::output(const QString &text)
{
    if (m_services.output)
        m_services.output(text);
}

bool DebugScriptObjectClass::callHost(int id, ESNativeCall &call)
{
    const auto row = std::find_if(std::begin(debugRows), std::end(debugRows),
                                  [id](const HostFunctionRow &r) { return r.id == id; });
    if (row == std::end(debugRows))
        return false;
    ESContext &context = call.context;
    const QString name = QStringLiteral("Debug.") + QLatin1String(row->name);
    if (std::find(std::begin(targetFunctions), std::end(targetFunctions), id) != std::end(targetFunctions))
        context.throwError(name + QStringLiteral(": no target connected"));
    ScriptDebugSession *session = m_services.debug;
    const bool needsImage = id == 12 || id == 14 || id == 17 || id == 23 || id == 33;
    if (needsImage && !session)
        context.throwError(name + QStringLiteral(": no program loaded (give tess js --elf FILE)"));
    try {
        switch (id) {
        case 12: {
            const ExpressionValue value = evaluate(call, "Debug.evaluate");
            JavaScriptVariableView view(context);
            view.setElementLimit(session->limits.elements);
            view.walk(session->parser(), QString(), value, session->radix);
            call.setResult(view.result());
            return true;
        }
        case 14: print(call); break;
        case 17: printGlobals(call); break;
        case 19: call.setResult(ESValue::boolean(false)); return true;
        case 23: {
            const quint64 pc = quint64(HostArguments::integer(call, 0, "Debug.locatepc", 0, qint64(maxAddress)));
            const DwarfDebugger::SourcePosition position = session->engine().sourceAt(pc);
            session->locatedFile = position.file;
            session->locatedLine = position.line;
            break;
        }
        case 27: call.setResult(HostArguments::string(context, session ? session->locatedFile : QString())); return true;
        case 28: call.setResult(ESValue::fromNumber(session ? session->locatedLine : 0)); return true;
        case 29: {
            const qint64 radix = HostArguments::integer(call, 0, "Debug.setprintradix", 2, 16);
            const auto found = std::find_if(std::begin(printRadixes), std::end(printRadixes),
                                            [radix](const auto &pair) { return pair.first == radix; });
            if (found == std::end(printRadixes))
                context.throwRangeError(QStringLiteral("Debug.setprintradix: radix %1 is not 2, 8, 10 or 16").arg(radix));
            if (session)
                session->radix = found->second;
            break;
        }
        case 30: {
            const qint64 elements = HostArguments::integer(call, 0, "Debug.setprintarray", 0, maxPrintElements);
            if (session)
                session->limits.elements = int(elements);
            break;
        }
        case 31:
            if (session)
                session->charPointersAsStrings = HostArguments::flag(call, 0, true);
            break;
        case 32: output(context.toESString(call.argument(0))); break;
        case 33: {
            const quint64 address = quint64(HostArguments::integer(call, 0, "Debug.getfunction", 0, qint64(maxAddress)));
            QString function;
            try {
                function = session->engine().sourceAt(address).function;
            } catch (const ParserException &) {
                // An address outside every unit lies in no function of ours.
            }
            call.setResult(HostArguments::string(context, function));
            return true;
        }
        default: break;   // quit, disassembly and source change nothing without a target
        }
    } catch (const ParserException &error) {
        context.throwError(name + QStringLiteral(": ") + error.message());
    } catch (const HException &error) {
        context.throwError(name + QStringLiteral(": ") + error.message());
    }
    call.setResult(ESValue::undefined());
    return true;
}

ExpressionValue DebugScriptObjectClass::evaluate(ESNativeCall &call, const char *function)
{
    const QString text = HostArguments::text(call, 0, function);
    const std::unique_ptr<Expression> tree = m_services.debug->parser().parse(text);
    return tree->evaluate();
}

void DebugScriptObjectClass::print(ESNativeCall &call)
{
    ScriptDebugSession &session = *m_services.debug;
    const ExpressionValue value = evaluate(call, "Debug.print");
    const ESValue format = call.argument(1);
    QChar letter;
    if (!format.isUndefined()) {
        const QString text = call.context.toESString(format);
        if (text.size() != 1 || !QLatin1String(printFormatLetters).contains(text))
            call.context.throwRangeError(QStringLiteral("Debug.print: bad format '%1' (one of b c d e f g i o p s u x)").arg(text));
        letter = text.at(0);
    } else if (session.charPointersAsStrings && isCharPointer(session.parser(), value)) {
        letter = u's';
    }
    const QString text = letter.isNull()
                             ? valueText(session.parser(), value, session.radix, session.limits)
                             : formattedValue(session.parser(), session.engine(), value, letter, session.limits);
    output(call.context.toESString(call.argument(0)) + QStringLiteral(" = ") + text);
}

void DebugScriptObjectClass::printGlobals(ESNativeCall &)
{
    ScriptDebugSession &session = *m_services.debug;
    std::vector<std::unique_ptr<SymbolInformation>> globals = session.engine().globals();
    std::stable_sort(globals.begin(), globals.end(),
                     [](const auto &a, const auto &b) { return a->name() < b->name(); });
    for (const auto &symbol : globals) {
        QString text;
        try {
            text = valueText(session.parser(), session.parser().valueAt(symbol->type(), symbol->address()),
                             session.radix, session.limits);
        } catch (const ParserException &error) {
            text = u'<' + error.message() + u'>';
        }
        output(symbol->name() + QStringLiteral(" = ") + text);
    }
}
