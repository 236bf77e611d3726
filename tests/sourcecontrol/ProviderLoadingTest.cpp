// Loading providers from a provider list: what a broken entry says, that the others still
// serve, and that the interface is released before its library is closed.
#include "sourcecontrol/SourceCodeControlSystemInterface.h"
#include "sourcecontrol/SourceControlLog.h"
#include "sourcecontrol/SourceControlProviders.h"
#include "tests/sourcecontrol/GitRepository.h"
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const QString modules = QStringLiteral(TESS_TEST_MODULES);

QByteArray providerElement(const QString &name, const QString &dll)
{
    return "  <provider name=\"" + name.toUtf8() + "\" dll=\"" + dll.toUtf8()
           + "\" repositoryname=\"r\" browse=\"No\"/>\n";
}

QString writeList(const QTemporaryDir &directory, const QByteArray &providers)
{
    const QString path = directory.filePath(QStringLiteral("scproviders.xml"));
    TestSupport::writeFile(path, "<scproviders>\n" + providers + "</scproviders>\n");
    return path;
}

struct BrokenCase {
    const char *name;
    std::function<QString(const QTemporaryDir &)> dll;   // the dll attribute to write
    QString reasonStart;
};

const BrokenCase brokenCases[] = {
    {"missingLibrary", [](const QTemporaryDir &d) { return d.filePath(QStringLiteral("nothere")); },
     QStringLiteral("%DIR%/nothere.so: cannot open shared object file: No such file or directory")},
    {"notALibrary",
     [](const QTemporaryDir &d) {
         TestSupport::writeFile(d.filePath(QStringLiteral("text.so")), "this is not a library\n");
         return QStringLiteral("text");
     },
     QStringLiteral("%DIR%/text.so: ")},
    {"lacksCreate", [](const QTemporaryDir &) { return modules + QStringLiteral("/scnocreate"); },
     QStringLiteral("missing symbol CreateSourceCodeControlSystemInterface")},
    {"lacksRelease", [](const QTemporaryDir &) { return modules + QStringLiteral("/scnorelease"); },
     QStringLiteral("missing symbol ReleaseSourceCodeControlSystemInterface")},
};

class BrokenProvider : public ::testing::TestWithParam<BrokenCase> {};

TEST_P(BrokenProvider, IsLeftOutWithOneMessage)
{
    QTemporaryDir directory;
    const QString dll = GetParam().dll(directory);
    const QString list =
        writeList(directory, providerElement(QStringLiteral("Broken"), dll)
                                 + providerElement(QStringLiteral("Good"),
                                                   modules + QStringLiteral("/scstandin")));
    SourceControlLog log;
    log.setKeptLines(10);
    SourceControlProviders providers(&log);
    QString error;
    ASSERT_TRUE(providers.load(list, &error)) << error.toStdString();
    ASSERT_EQ(providers.providers().size(), 2U);
    const SourceControlProvider &broken = *providers.providers().front();
    EXPECT_EQ(broken.interface(), nullptr);
    QString reason = GetParam().reasonStart;
    reason.replace(QStringLiteral("%DIR%"), directory.path());
    EXPECT_TRUE(broken.loadError().startsWith(reason)) << broken.loadError().toStdString();
    ASSERT_EQ(log.keptLines().size(), 1);
    EXPECT_EQ(log.keptLines().first(),
              QStringLiteral("cannot load source control provider 'Broken': ")
                  + broken.loadError());
    ASSERT_NE(providers.find(QStringLiteral("Good")), nullptr);
    EXPECT_NE(providers.find(QStringLiteral("Good"))->interface(), nullptr);
    EXPECT_TRUE(providers.anyLoaded());
}

INSTANTIATE_TEST_SUITE_P(Entries, BrokenProvider, ::testing::ValuesIn(brokenCases),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(ProviderLoading, ReleasesTheInterfaceBeforeClosingTheLibrary)
{
    QTemporaryDir directory;
    const QString trace = directory.filePath(QStringLiteral("trace"));
    qputenv("TESS_STANDIN_TRACE", QFile::encodeName(trace));
    {
        SourceControlProviders providers;
        QString error;
        ASSERT_TRUE(providers.load(
            writeList(directory, providerElement(QStringLiteral("StandIn"),
                                                 modules + QStringLiteral("/scstandin"))),
            &error));
        ASSERT_NE(providers.providers().front()->interface(), nullptr);
        EXPECT_EQ(providers.providers().front()->interface()->name(), QStringLiteral("StandIn"));
    }
    qunsetenv("TESS_STANDIN_TRACE");
    EXPECT_EQ(TestSupport::readFile(trace), "create\nrelease\nunload\n");
}

TEST(ProviderLoading, ALibraryIsTakenFromTheListsFolderWithTheExtensionAdded)
{
    QTemporaryDir directory;
    QFile::copy(modules + QStringLiteral("/scstandin.so"),
                directory.filePath(QStringLiteral("mine.so")));
    SourceControlProviders providers;
    QString error;
    ASSERT_TRUE(providers.load(
        writeList(directory, providerElement(QStringLiteral("Mine"), QStringLiteral("mine"))),
        &error));
    EXPECT_EQ(providers.providers().front()->entry().library,
              directory.filePath(QStringLiteral("mine.so")));
    EXPECT_NE(providers.providers().front()->interface(), nullptr)
        << providers.providers().front()->loadError().toStdString();
}

TEST(ProviderLoading, ReadsNameLibraryAndPropertiesOfTheShippedList)
{
    SourceControlProviders providers;
    QString error;
    ASSERT_TRUE(providers.load(TestSupport::binPath(QStringLiteral("scproviders.xml")), &error))
        << error.toStdString();
    ASSERT_EQ(providers.providers().size(), 1U);
    const SourceControlProviderEntry &entry = providers.providers().front()->entry();
    EXPECT_EQ(entry.name, QStringLiteral("Git"));
    EXPECT_EQ(entry.library, TestSupport::binPath(QStringLiteral("scgit.so")));
    ASSERT_EQ(entry.properties.size(), 1U);
    EXPECT_EQ(entry.properties.front().name, QStringLiteral("program"));
    EXPECT_EQ(entry.properties.front().value, QStringLiteral("git"));
    ASSERT_NE(providers.providers().front()->interface(), nullptr);
    EXPECT_EQ(providers.providers().front()->interface()->name(), QStringLiteral("Git"));
}

struct ListCase {
    const char *name;
    QByteArray text;
    QString error;
};

class BrokenProviderList : public ::testing::TestWithParam<ListCase> {};

TEST_P(BrokenProviderList, FailsWithWhereAndWhat)
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("list.xml"));
    TestSupport::writeFile(path, GetParam().text);
    SourceControlProviders providers;
    QString error;
    EXPECT_FALSE(providers.load(path, &error));
    EXPECT_EQ(error.toStdString(), (path + GetParam().error).toStdString());
    EXPECT_TRUE(providers.providers().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Lists, BrokenProviderList,
    ::testing::Values(ListCase{"wrongRoot", "<providers/>\n",
                               ": not a provider list (root 'providers', expected 'scproviders')"},
                      ListCase{"badXml", "<scproviders>\n<provider name='x'>\n</scproviders>\n",
                               ":3:14: Opening and ending tag mismatch."}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(ProviderLoading, AMissingListIsAnError)
{
    SourceControlProviders providers;
    QString error;
    EXPECT_FALSE(providers.load(QStringLiteral("/nonexistent/scproviders.xml"), &error));
    EXPECT_EQ(error, QStringLiteral("/nonexistent/scproviders.xml: cannot read the provider list: "
                                    "No such file or directory"));
}

// Through the command line: the broken entries are reported, and the working provider serves.
TEST(ProviderLoadingCommand, ProvidersListsEachWithWhyAndStatusStillWorks)
{
    QTemporaryDir directory;
    TestSupport::writeFile(directory.filePath(QStringLiteral("text.so")), "not a library\n");
    const QString list =
        writeList(directory, providerElement(QStringLiteral("Missing"), QStringLiteral("nothere"))
                                 + providerElement(QStringLiteral("Text"), QStringLiteral("text"))
                                 + providerElement(QStringLiteral("NoCreate"),
                                                   modules + QStringLiteral("/scnocreate"))
                                 + providerElement(QStringLiteral("Git"),
                                                   TestSupport::binPath(QStringLiteral("scgit"))));
    const auto listed = tess({"sc", "providers", "--providers", list});
    EXPECT_EQ(listed.exitCode, 0) << listed.err.constData();
    const QList<QByteArray> lines = listed.out.split('\n');
    ASSERT_GE(lines.size(), 4);
    EXPECT_TRUE(lines[0].startsWith("Missing\t" + directory.filePath("nothere.so").toUtf8()
                                    + "\tnot loaded: "))
        << lines[0].constData();
    EXPECT_TRUE(
        lines[1].startsWith("Text\t" + directory.filePath("text.so").toUtf8() + "\tnot loaded: "));
    EXPECT_TRUE(
        lines[2].endsWith("\tnot loaded: missing symbol CreateSourceCodeControlSystemInterface"));
    EXPECT_TRUE(lines[3].startsWith("Git\t" + TestSupport::binPath("scgit.so").toUtf8()
                                    + "\tloaded (git version "));
    EXPECT_EQ(listed.err.count('\n'), 3) << listed.err.constData();

    GitRepository repository;
    repository.write("a.c", "a\n");
    const auto status = tess({"sc", "status", "--providers", list}, repository.path());
    EXPECT_EQ(status.exitCode, 0) << status.err.constData();
    EXPECT_EQ(status.out, "?? a.c\n");
    EXPECT_TRUE(
        status.err.contains("tess sc status: cannot load source control provider 'Missing': "));
    EXPECT_TRUE(
        status.err.contains("tess sc status: cannot load source control provider 'NoCreate': "
                            "missing symbol CreateSourceCodeControlSystemInterface\n"));
}

TEST(ProviderLoadingCommand, WithoutGitTheProviderSaysItIsUnavailable)
{
    QTemporaryDir directory;
    const QString list = directory.filePath(QStringLiteral("scproviders.xml"));
    TestSupport::writeFile(list, "<scproviders><provider name=\"Git\" dll=\""
                                     + TestSupport::binPath("scgit").toUtf8()
                                     + "\"><property name=\"program\" "
                                       "value=\"/nonexistent/git\"/></provider></scproviders>\n");
    GitRepository repository;
    const auto status = tess({"sc", "status", "--providers", list}, repository.path());
    EXPECT_EQ(status.exitCode, 1);
    EXPECT_EQ(status.err, "tess sc status: source control provider 'Git' is unavailable: "
                          "cannot run '/nonexistent/git': no such program\n");
    const auto listed = tess({"sc", "providers", "--providers", list});
    EXPECT_EQ(listed.exitCode, 0);
    EXPECT_TRUE(
        listed.out.endsWith("\tunavailable: cannot run '/nonexistent/git': no such program\n"
                            "  program=/nonexistent/git  \n"))
        << listed.out.constData();
}

TEST(ProviderLoadingCommand, WithoutGitInThePathTheProviderSaysSo)
{
    GitRepository repository;
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PATH"), QStringLiteral("/nonexistent"));
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(repository.path());
    process.start(TestSupport::binPath(QStringLiteral("tess")), {"sc", "status"});
    ASSERT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_EQ(process.readAllStandardError(), "tess sc status: source control provider 'Git' is "
                                              "unavailable: cannot find 'git' in PATH\n");
}

TEST(ProviderLoadingCommand, TheListCanComeFromTheEnvironment)
{
    QTemporaryDir directory;
    const QString list =
        writeList(directory, providerElement(QStringLiteral("Missing"), QStringLiteral("nothere")));
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TESS_SC_PROVIDERS"), list);
    process.setProcessEnvironment(environment);
    process.start(TestSupport::binPath(QStringLiteral("tess")), {"sc", "providers"});
    ASSERT_TRUE(process.waitForFinished(60000));
    EXPECT_TRUE(process.readAllStandardOutput().startsWith("Missing\t"));
}

}   // namespace
