#pragma once
#include "debug/SymbolInformation.h"
#include <memory>
#include <vector>

// An object file as the front end sees it: its sections, segments and symbols.
class ObjectFileInterface {
public:
    virtual ~ObjectFileInterface();
    [[nodiscard]] virtual std::vector<std::unique_ptr<SectionInformation>> sections() const = 0;
    [[nodiscard]] virtual std::vector<std::unique_ptr<SegmentInformation>> segments() const = 0;
    [[nodiscard]] virtual std::vector<std::unique_ptr<SymbolInformation>> symbols() const = 0;
};
