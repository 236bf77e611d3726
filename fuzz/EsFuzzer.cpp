// Compiles and runs arbitrary text in the script engine with an instruction budget, and lists
// the compiled code on the way. Script errors and the engine's fatal errors are expected
// outcomes; anything else (a crash, a sanitizer report, an escaping exception) is a finding.
#include "script/es/ESContext.h"
#include "script/es/ESParser.h"
#include <cstdint>
#include <memory>

namespace {

constexpr std::int64_t instructionBudget = 20000;
constexpr int runsPerContext = 200;   // objects are never freed: start afresh now and then

class FuzzContext : public ESContext {
public:
    FuzzContext() : ESContext(ContinuePolling::On) {}
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static std::unique_ptr<FuzzContext> context;
    static int runs = 0;
    if (!context || ++runs % runsPerContext == 0)
        context = std::make_unique<FuzzContext>();
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    context->executed = 0;
    try {
        listCode(*context, text);
        const ESCompletion completion = context->evaluate(QStringLiteral("fuzz.js"), text);
        if (completion.kind == ESCompletion::Normal && !completion.value.isObject())
            (void)context->toESString(completion.value);
    } catch (const ESFatalError &) {
        context.reset();   // a fatal error leaves the context unfit for further runs
    }
    return 0;
}
