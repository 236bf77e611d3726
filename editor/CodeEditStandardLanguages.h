#pragma once
#include "editor/CodeEditStandardParser.h"

// The languages of the C family: each fills the standard parser's word lists.

class CodeEditCParser final : public CodeEditRawStringParser {
public:
    CodeEditCParser();
};

class CodeEditJavaParser final : public CodeEditStandardParser {
public:
    CodeEditJavaParser();
};

class CodeEditJavaScriptParser final : public CodeEditStandardParser {
public:
    CodeEditJavaScriptParser();
};

// Linker configuration files; their words match in any case.
class CodeEditIARLinkScriptParser final : public CodeEditStandardParser {
public:
    CodeEditIARLinkScriptParser();
};

class CodeEditXCParser final : public CodeEditStandardParser {
public:
    CodeEditXCParser();
};

// Module descriptions of a device family.
class CodeEditMDParser final : public CodeEditStandardParser {
public:
    CodeEditMDParser();
};

// Its words only in upper case.
class CodeEditSTAPLParser final : public CodeEditStandardParser {
public:
    CodeEditSTAPLParser();
};

// Batch files: words in any case, and a line whose first word is "rem" is all comment.
class CodeEditBatchParser final : public CodeEditStandardParser {
public:
    CodeEditBatchParser();
    const char16_t *parse(const char16_t *input, char16_t *output, int *blockDelta) override;
};
