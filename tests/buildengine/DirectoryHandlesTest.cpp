#include "buildengine/DirectoryHandles.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

class DirectoryHandlesTest : public ::testing::Test {
protected:
    QByteArray path(const QString &relative) const
    {
        return QFile::encodeName(m_dir.filePath(relative));
    }
    void write(const QString &relative, const QByteArray &bytes) const
    {
        QDir().mkpath(QFileInfo(m_dir.filePath(relative)).absolutePath());
        TestSupport::writeFile(m_dir.filePath(relative), bytes);
    }
    bool exists(const QString &relative)
    {
        struct stat info {};
        return m_handles.stat(path(relative), info);
    }

    QTemporaryDir m_dir;
    DirectoryHandles m_handles;
};

TEST_F(DirectoryHandlesTest, SeesFilesMadeAfterTheDirectoryWasOpened)
{
    write("obj/a.o", "a");
    EXPECT_TRUE(exists("obj/a.o"));
    EXPECT_FALSE(exists("obj/b.o"));
    write("obj/b.o", "bb");
    struct stat info {};
    ASSERT_TRUE(m_handles.stat(path("obj/b.o"), info));
    EXPECT_EQ(info.st_size, 2);
    // A directory that did not exist when first asked about is looked for again.
    EXPECT_FALSE(exists("later/c.o"));
    write("later/c.o", "c");
    EXPECT_TRUE(exists("later/c.o"));
}

TEST_F(DirectoryHandlesTest, ReadsThroughTheHandleAndFallsBackForOtherPaths)
{
    write("deps/a.d", "a.o: a.c\n");
    const int file = m_handles.openForReading(path("deps/a.d"));
    ASSERT_GE(file, 0);
    char text[16] = {};
    EXPECT_EQ(::read(file, text, sizeof text), 9);
    ::close(file);
    EXPECT_EQ(QByteArray(text), QByteArray("a.o: a.c\n"));
    EXPECT_LT(m_handles.openForReading(path("deps/none.d")), 0);
    struct stat info {};
    EXPECT_FALSE(m_handles.stat("relative-name-that-is-not-here", info));
    EXPECT_TRUE(m_handles.stat("/", info));
}

TEST_F(DirectoryHandlesTest, ManyDirectoriesAndARemovedOneAfterClear)
{
    for (int i = 0; i < 300; ++i)
        write(QStringLiteral("d%1/f").arg(i), "x");
    for (int i = 0; i < 300; ++i)
        EXPECT_TRUE(exists(QStringLiteral("d%1/f").arg(i))) << i;
    ASSERT_TRUE(QDir(m_dir.filePath(QStringLiteral("d299"))).removeRecursively());
    write("d299/f", "x");
    m_handles.clear();
    EXPECT_TRUE(exists("d299/f"));
}

} // namespace
