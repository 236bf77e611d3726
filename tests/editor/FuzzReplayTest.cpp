#include "fuzz/EditorReplay.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <gtest/gtest.h>

namespace {

// Inputs the fuzzer found, kept in data/fuzz-*.txt and named after what they broke.
TEST(FuzzReplay, KeptInputsKeepTheHistoryConsistent)
{
    const QDir data(QStringLiteral(TESS_TEST_DATA "/data"));
    const QStringList inputs = data.entryList({QStringLiteral("fuzz-*.txt")}, QDir::Files);
    ASSERT_FALSE(inputs.isEmpty());
    for (const QString &name : inputs)
        EXPECT_TRUE(replayKeepsHistory(TestSupport::readFile(data.filePath(name)))) << name.toStdString();
}

TEST(FuzzReplay, UndoInsideAnOperationWaitsUntilItEnds)
{
    EXPECT_TRUE(replayKeepsHistory("abc\n%%\ninsert 1:1 \"x\"\nundo\nbegin\ntype \"y\"\nredo\nundo\nend\n"));
}

} // namespace
