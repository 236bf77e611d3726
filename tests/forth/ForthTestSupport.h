#pragma once
#include "script/forth/ScriptEngine.h"
#include <string>

// Runs Forth texts on one engine and keeps what they typed and reported.
class ForthRun : public ForthScriptMessageInterface {
public:
    ForthRun() : engine(this) {}
    void type(const QString &text) override { output += text.toStdString(); }
    void error(const QString &text) override { errors += text.toStdString() + "\n"; }

    // The throw code of the text, 0 when it ran to the end.
    int run(const QString &text)
    {
        const std::optional<ForthException> failure = engine.evaluateText(text, "test");
        lastMessage = failure ? failure->message.toStdString() : std::string();
        return failure ? failure->code : 0;
    }

    std::string output;
    std::string errors;
    std::string lastMessage;
    ScriptEngine engine;
};

// One row of a table: a text, what it types, and the throw code it ends with.
struct ForthCase {
    const char *name;
    const char *source;
    const char *output;
    int code = 0;
    const char *message = nullptr;   // checked when given
};
