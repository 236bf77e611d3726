// Runs every tests/es/data/<name>.js and compares the outcome with <name>.out.
#include "tests/es/EsTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <gtest/gtest.h>

namespace {

std::vector<std::string> scriptNames()
{
    std::vector<std::string> names;
    const QDir data(QStringLiteral(TESS_TEST_DATA "/data"));
    for (const QString &file : data.entryList({QStringLiteral("*.js")}, QDir::Files, QDir::Name))
        names.push_back(file.chopped(3).toStdString());
    return names;
}

class Script : public ::testing::TestWithParam<std::string> {};

TEST_P(Script, ProducesExpectedOutput)
{
    const QString base = QStringLiteral(TESS_TEST_DATA "/data/") + QString::fromStdString(GetParam());
    const QString source = QString::fromUtf8(TestSupport::readFile(base + QStringLiteral(".js")));
    const QString expected = QString::fromUtf8(TestSupport::readFile(base + QStringLiteral(".out")));
    ASSERT_FALSE(source.isEmpty());
    EXPECT_EQ(runScript(source).toStdString(), expected.toStdString());
}

INSTANTIATE_TEST_SUITE_P(Data, Script, ::testing::ValuesIn(scriptNames()),
                         [](const auto &info) { return info.param; });

} // namespace
