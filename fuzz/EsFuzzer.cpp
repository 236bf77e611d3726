// Compiles and runs arbitrary text in the script engine, and lists the compiled code on the way.
// Script errors and the engine's fatal errors are expected outcomes; anything else (a crash, a
// sanitizer report, an escaping exception) is a finding.
//
// Each input gets a context of its own with a small instruction budget, a small value stack and
// short strings, and everything the run made is released after it, the atoms included (all but
// those every context makes): so no input sees what an earlier one left.
#include "script/es/ESContext.h"
#include "script/es/ESParser.h"
#include <cstdint>
#include <memory>

namespace {

constexpr std::int64_t instructionBudget = 10000;

ESLimits fuzzLimits()
{
    ESLimits limits;
    limits.stackEntries = 1 << 14;
    limits.textLength = qsizetype(1) << 16;
    limits.walkLength = double(1 << 12);
    limits.splitParts = qsizetype(1) << 12;
    return limits;
}

class FuzzContext : public ESContext {
public:
    FuzzContext() : ESContext(ContinuePolling::On, fuzzLimits()) {}
    bool shouldContinue() override { return ++executed <= instructionBudget; }
    std::int64_t executed = 0;
};

void listCode(ESContext &context, const QString &text)
{
    QString listing;
    ESParser parser(context);
    parser.setSource(text);
    parser.setListing(&listing);
    try {
        const std::unique_ptr<ESCode> code = parser.compileProgram();
    } catch (const ESException &) {
    }
}

void runOnce(const QString &text)
{
    FuzzContext context;
    try {
        listCode(context, text);
        const ESCompletion completion = context.evaluate(QStringLiteral("fuzz.js"), text);
        if (completion.kind == ESCompletion::Normal && !completion.value.isObject())
            (void)context.toESString(completion.value);
    } catch (const ESFatalError &) {
        // The stack ran out or an engine invariant failed: the context is dropped below.
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // The names a fresh context makes, kept from one input to the next.
    static const int libraryAtoms = [] {
        const FuzzContext probe;
        return ESAtomTable::instance().size();
    }();
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    runOnce(text);
    // No context is left, so the atoms the input made can go.
    ESAtomTable::instance().releaseAbove(libraryAtoms);
    return 0;
}
