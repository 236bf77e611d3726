// Loading libclang at run time: the functions resolved, and the messages when the library is
// missing, is not a library, or is some other library.
#include "clang/LibClang.h"
#include "foundation/HException.h"
#include "tests/support/TestSupport.h"
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

TEST(LibClangFunctions, AreTheEightyFiveTheCodeIntelligenceUses)
{
    const QStringList names = LibClang::functionNames();
    ASSERT_EQ(names.size(), 85);
    EXPECT_EQ(names.first(), QStringLiteral("clang_createIndex"));
    EXPECT_EQ(names.at(3), QStringLiteral("clang_parseTranslationUnit2"));
    EXPECT_EQ(names.last(), QStringLiteral("clang_getInclusions"));
    EXPECT_EQ(QSet<QString>(names.begin(), names.end()).size(), 85);
    for (const QString &name : names)
        EXPECT_TRUE(name.startsWith(QStringLiteral("clang_"))) << name.toStdString();
}

TEST(LibClangFunctions, AllResolveInTheInstalledLibrary)
{
    std::unique_ptr<LibClang> library;
    try {
        library = std::make_unique<LibClang>(QLatin1String(LibClang::defaultLibrary));
    } catch (const HException &error) {
        GTEST_SKIP() << error.message().toStdString();
    }
    EXPECT_NE(library->clang_createIndex, nullptr);
    EXPECT_NE(library->clang_getInclusions, nullptr);
    EXPECT_EQ(library->take(library->clang_getCursorKindSpelling(300)),
              QStringLiteral("TranslationUnit"));
    EXPECT_EQ(library->take(library->clang_getCursorKindSpelling(501)),
              QStringLiteral("macro definition"));
}

struct LoadCase {
    const char *name;
    QString path;
    QString message;
};

class LibClangLoad : public ::testing::TestWithParam<LoadCase> {};

TEST_P(LibClangLoad, FailsWithTheMessage)
{
    try {
        LibClang library(GetParam().path);
        ADD_FAILURE() << "loaded " << GetParam().path.toStdString();
    } catch (const HException &error) {
        EXPECT_EQ(error.message(), GetParam().message);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Libraries, LibClangLoad,
    ::testing::Values(LoadCase{"missing", "/nonexistent/libclang.so",
                               "Failed to load libclang.dll /nonexistent/libclang.so"},
                      LoadCase{"notALibrary", TESS_SOURCE_DIR "/README.md",
                               "Failed to load libclang.dll " TESS_SOURCE_DIR "/README.md"},
                      LoadCase{"emptyPath", "", "Failed to load libclang.dll "},
                      LoadCase{
                          "anotherLibrary", "libz.so.1",
                          "Failed to load libclang.dll libz.so.1: it has no clang_createIndex"}),
    [](const auto &info) { return std::string(info.param.name); });

} // namespace
