#include "clang/ClangInterface.h"
#include "clang/ClangDLL.h"
#include "clang/ClangServer.h"

ClangInterface::~ClangInterface() = default;

const char *clangOperationName(ClangOperation operation)
{
    const auto code = std::size_t(operation);
    return code < clangOperationNames.size() ? clangOperationNames[code] : "?";
}

std::unique_ptr<ClangInterface> createClangInterface(const ClangSettings &settings)
{
    if (settings.libraryPath.isEmpty())
        return nullptr;
    if (settings.separateProcess)
        return std::make_unique<ClangServer>(settings.libraryPath, settings);
    return std::make_unique<ClangDLL>(settings.libraryPath);
}
