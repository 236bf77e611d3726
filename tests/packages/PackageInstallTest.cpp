// `tess pkg install`, `remove`, `show` and `status` on real packages in a scratch packages
// directory: black-box runs of the program.
#include "foundation/HException.h"
#include "packages/PackageSystem.h"
#include "tests/packages/ArchiveBytes.h"
#include "tests/support/TestSupport.h"
#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <utime.h>

using ArchiveBytes::Entry;
using TestSupport::ProgramRun;

namespace {

struct Package {
    QByteArray name;
    QByteArray version = "1.0";
    QByteArray attributes;   // further attributes of the package element
    std::vector<Entry> files;
    quint32 time = 1700000000;
};

class PackageInstall : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString root = dir.filePath(QStringLiteral("root"));

    QString path(const QString &name) const { return dir.filePath(name); }

    // The package file "<name>-<version>.qvPackage": its description first, then the files.
    QString make(const Package &package)
    {
        const QByteArray description = "<?xml version=\"1.0\"?>\n<package name=\"" + package.name + "\" version=\""
                                       + package.version + "\" compatibility=\"1\" installation_directory=\"$(PackagesDir)/"
                                       + package.name + "\" " + package.attributes + "/>\n";
        std::vector<Entry> entries{{package.name + "_package.xml", description, 0644, package.time}};
        for (Entry entry : package.files) {
            entry.time = package.time;
            entries.push_back(entry);
        }
        const QString file = path(QString::fromUtf8(package.name + "-" + package.version + ".qvPackage"));
        TestSupport::writeFile(file, ArchiveBytes::format2Archive(entries));
        return file;
    }

    ProgramRun tess(QStringList arguments) const
    {
        arguments << QStringLiteral("--root") << root;
        return TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")), arguments);
    }

    ProgramRun install(const QStringList &packages, const QStringList &options = {}) const
    {
        return tess(QStringList{"pkg", "install"} + packages + options);
    }

    QByteArray installed(const QString &name) const { return TestSupport::readFile(root + u'/' + name); }

    // Every file below the root except the lock, as "path: bytes".
    QStringList snapshot() const
    {
        QStringList lines;
        QDirIterator it(root, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString file = it.next();
            if (!file.endsWith(QLatin1String("/.lock")))
                lines.append(QDir(root).relativeFilePath(file) + QStringLiteral(": ") + QString::fromUtf8(TestSupport::readFile(file)));
        }
        lines.sort();
        return lines;
    }
};

QByteArray crc32Text(const QByteArray &bytes)
{
    const uLong crc = crc32_z(0, reinterpret_cast<const Bytef *>(bytes.constData()), size_t(bytes.size()));
    return "0x" + QByteArray::number(qulonglong(crc), 16).rightJustified(8, '0');
}

const QByteArray project = "<Tessbench_Project_File>\n"
                           "  <file file_name=\"$(VarnelDir)/acme/include/acme.h;$(VarnelDir)/other/x.h\"/>\n"
                           "  <folder path=\"$(VarnelDir)/acme/$(Board)/*.h\"/>\n"
                           "</Tessbench_Project_File>\n";
const QByteArray rewritten = "<Tessbench_Project_File>\n"
                             "  <file file_name=\"$(PackagesDir)/acme/include/acme.h;$(VarnelDir)/other/x.h\"/>\n"
                             "  <folder path=\"$(PackagesDir)/acme/$(Board)/*.h\"/>\n"
                             "</Tessbench_Project_File>\n";

Package acme(const QByteArray &version = "1.0")
{
    return {"acme", version, "board_manufacturer=\"Acme\" board_name=\"X1\"",
            {{"include/acme.h", "#define ACME 1\n"},
             {"examples/blinky/blinky.qvProject", project},
             {"doc/index.HTM", "<a href=\"$(VarnelDir)/acme/include/acme.h\">"},
             {"doc/page.html", "<a href=\"$(VarnelDir)/acme/include/acme.h\">"}}};
}

TEST_F(PackageInstall, WritesTheFilesRewritesReferencesAndRecordsWhatItInstalled)
{
    const ProgramRun run = install({make(acme())});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, "Installed package 'acme'\n");
    EXPECT_EQ(installed("acme/include/acme.h"), "#define ACME 1\n");
    EXPECT_EQ(installed("acme/examples/blinky/blinky.qvProject").toStdString(), rewritten.toStdString());
    EXPECT_EQ(installed("acme/doc/index.HTM"), "<a href=\"$(PackagesDir)/acme/include/acme.h\">");
    EXPECT_EQ(installed("acme/doc/page.html"), "<a href=\"$(VarnelDir)/acme/include/acme.h\">");
    EXPECT_EQ(QFileInfo(root + "/acme/include/acme.h").lastModified().toSecsSinceEpoch(), 1700000000);
    const QByteArray description = installed("packages/acme_package.xml");
    EXPECT_TRUE(description.contains("installed_directory=\"$(PackagesDir)/acme\"")) << description.constData();
    EXPECT_TRUE(description.contains("<installed_file file_name=\"examples/blinky/blinky.qvProject\" crc32=\""
                                     + crc32Text(rewritten) + "\""))
        << description.constData();
    const ProgramRun show = tess({"pkg", "show", "acme"});
    EXPECT_EQ(show.out.toStdString(),
              "name: acme\nversion: 1.0\ntitle: Acme X1 Board Support Package\n"
              "description: This package contains project templates, system files and example programs for the "
              "<b>Acme X1 Board</b>.\nstatus: installed\ninstallation_directory: " + (root + "/acme").toStdString() +
              "\ndependencies: \nfiles: acme_package.xml;include/acme.h;examples/blinky/blinky.qvProject;"
              "doc/index.HTM;doc/page.html\n");
    EXPECT_EQ(tess({"pkg", "status"}).out, "acme 1.0 installed\n");
    EXPECT_FALSE(QFileInfo::exists(root + "/acme/.tess-staging"));
    EXPECT_FALSE(QFileInfo::exists(root + "/packages/install.journal"));
}

TEST_F(PackageInstall, AnUpdateDeletesWhatIsNoLongerDeliveredAndKeepsChangedFiles)
{
    Package old = acme();
    old.files.push_back({"obsolete.h", "old"});
    old.files.push_back({"lib/changed.c", "original"});
    ASSERT_EQ(install({make(old)}).exitCode, 0);
    TestSupport::writeFile(root + "/acme/lib/changed.c", "edited by the user");
    Package update = acme("1.1");
    update.time = 1800000000;
    update.files[0].data = "#define ACME 2\n";
    const ProgramRun run = install({make(update)});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out.toStdString(), "Kept changed file " + (root + "/acme/lib/changed.c").toStdString()
                                         + "\nInstalled package 'acme'\n");
    EXPECT_EQ(installed("acme/include/acme.h"), "#define ACME 2\n");
    EXPECT_FALSE(QFileInfo::exists(root + "/acme/obsolete.h"));
    EXPECT_EQ(installed("acme/lib/changed.c"), "edited by the user");
    EXPECT_FALSE(installed("packages/acme_package.xml").contains("obsolete.h"));
    EXPECT_EQ(tess({"pkg", "status"}).out, "acme 1.1 installed\n");
}

TEST_F(PackageInstall, AnEqualVersionReinstallsAnOlderOneOnlyWhenForced)
{
    ASSERT_EQ(install({make(acme("1.2.3"))}).exitCode, 0);
    EXPECT_EQ(install({make(acme("1.2.9"))}).exitCode, 0);
    const ProgramRun older = install({make(acme("1.1"))});
    EXPECT_EQ(older.exitCode, 1);
    EXPECT_EQ(older.err, "Package installation error: package 'acme' version 1.1 is older than the installed version 1.2.9\n");
    EXPECT_EQ(install({make(acme("1.1"))}, {"--force"}).exitCode, 0);
    EXPECT_EQ(tess({"pkg", "status"}).out, "acme 1.1 installed\n");
}

struct CompatibilityCase {
    const char *name;
    QByteArray compatibility;
    QByteArray message;   // empty: installs
};

class PackageCompatibility : public PackageInstall, public ::testing::WithParamInterface<CompatibilityCase> {};

TEST_P(PackageCompatibility, IsTestedUnlessForced)
{
    Package package{"acme", "1.0", "", {{"a.h", "a"}}};
    QString file = make(package);
    const QByteArray description = "<package name=\"acme\" version=\"1.0\" compatibility=\"" + GetParam().compatibility + "\"/>";
    TestSupport::writeFile(file, ArchiveBytes::format2Archive({{"acme_package.xml", description}, {"a.h", "a"}}));
    const ProgramRun run = install({file});
    if (GetParam().message.isEmpty()) {
        EXPECT_EQ(run.exitCode, 0) << run.err.constData();
        return;
    }
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err.toStdString(), ("Package installation error: " + GetParam().message + "\n").toStdString());
    EXPECT_TRUE(snapshot().isEmpty());
    EXPECT_EQ(install({file}, {"--force"}).exitCode, 0);
    EXPECT_EQ(installed("a.h"), "a");
}

const QByteArray advice = " We recommend that you terminate the installation as it is unlikely that the package will work";

INSTANTIATE_TEST_SUITE_P(
    Releases, PackageCompatibility,
    ::testing::Values(CompatibilityCase{"sameRelease", "1", ""}, CompatibilityCase{"oldEnoughProgram", "1:0.1", ""},
                      CompatibilityCase{"otherRelease", "2",
                                        "The package you are installing is incompatible with this release of Tessmark." + advice},
                      CompatibilityCase{"notANumber", "one",
                                        "The package you are installing is incompatible with this release of Tessmark." + advice},
                      CompatibilityCase{"newerProgramNeeded", "1:99.0",
                                        "The package you are installing is incompatible with this release of Tessmark - "
                                        "version 99.0 is required." + advice}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(PackageInstall, APlainArchiveUnpacksWithoutTestsAndIsNotRegistered)
{
    const QString file = path(QStringLiteral("tools.qvArchive"));
    TestSupport::writeFile(file, ArchiveBytes::format2Archive({{"tools_package.xml", "<package name=\"tools\" filetype=\"qvArchive\" compatibility=\"7\"/>"},
                                                               {"bin/tool.sh", "echo"}}));
    const ProgramRun run = install({file});
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(installed("bin/tool.sh"), "echo");
    EXPECT_FALSE(QFileInfo::exists(root + "/packages/tools_package.xml"));
    EXPECT_EQ(tess({"pkg", "status"}).out, "");
}

TEST_F(PackageInstall, ANewerTargetFileIsRefusedKeptOrOverwrittenAsTold)
{
    const QString file = make(acme());
    QDir().mkpath(root + "/acme/include");
    TestSupport::writeFile(root + "/acme/include/acme.h", "mine");
    const ProgramRun refused = install({file});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.err.toStdString(), "Package installation error: The file " + (root + "/acme/include/acme.h").toStdString()
                                             + " exists and is dated later than package file. Do you want to overwrite this file?\n");
    EXPECT_FALSE(QFileInfo::exists(root + "/acme/examples"));
    ASSERT_EQ(install({file}, {"--keep-newer"}).exitCode, 0);
    EXPECT_EQ(installed("acme/include/acme.h"), "mine");
    EXPECT_TRUE(QFileInfo::exists(root + "/acme/examples/blinky/blinky.qvProject"));
    ASSERT_EQ(install({file}, {"--overwrite-newer"}).exitCode, 0);
    EXPECT_EQ(installed("acme/include/acme.h"), "#define ACME 1\n");
}

TEST_F(PackageInstall, ADirectoryOutsideThePackagesDirectoryNeedsTarget)
{
    const QString outside = path(QStringLiteral("outside"));
    Package package{"acme", "1.0", "installation_directory=\"" + outside.toUtf8() + "\"", {{"a.h", "a"}}};
    const QString file = path(QStringLiteral("acme.qvPackage"));
    TestSupport::writeFile(file, ArchiveBytes::format2Archive({{"acme_package.xml", "<package name=\"acme\" installation_directory=\""
                                                                                       + outside.toUtf8() + "\"/>"},
                                                               {"a.h", "a"}}));
    const ProgramRun refused = install({file});
    EXPECT_EQ(refused.err.toStdString(), "Package installation error: installation directory " + outside.toStdString()
                                             + " lies outside " + root.toStdString() + "\n");
    EXPECT_FALSE(QFileInfo::exists(outside));
    ASSERT_EQ(install({file}, {"--target", outside}).exitCode, 0);
    EXPECT_EQ(TestSupport::readFile(outside + "/a.h"), "a");
    EXPECT_EQ(tess({"pkg", "remove", "acme"}).exitCode, 0);
    EXPECT_FALSE(QFileInfo::exists(outside));
}

TEST_F(PackageInstall, TheChosenDirectorySetsTheGlobalMacroForLaterPackages)
{
    const QString sdk = root + "/sdk";
    Package base{"base", "1.0", "installation_directory_prompt=\"Where?\" installation_directory_global_macro_name=\"BaseDir\"",
                 {{"base.h", "b"}}};
    ASSERT_EQ(install({make(base)}, {"--target", sdk}).exitCode, 0);
    const QString file = path(QStringLiteral("plugin.qvPackage"));
    TestSupport::writeFile(file, ArchiveBytes::format2Archive({{"plugin_package.xml", "<package name=\"plugin\" "
                                                                                      "installation_directory=\"$(BaseDir)/plugins\"/>"},
                                                               {"p.h", "p"}}));
    ASSERT_EQ(install({file}).exitCode, 0);
    EXPECT_EQ(TestSupport::readFile(sdk + "/plugins/p.h"), "p");
}

TEST_F(PackageInstall, DependenciesComeFirstMissingOnesAndCyclesAreRefused)
{
    Package a{"A", "1.0", "dependencies=\"B\"", {{"a.h", "a"}}};
    Package b{"B", "1.0", "", {{"b.h", "b"}}};
    const ProgramRun missing = install({make(a)});
    EXPECT_EQ(missing.err, "Package installation error: package A requires B, which is not installed\n");
    const ProgramRun both = install({make(a), make(b)});
    ASSERT_EQ(both.exitCode, 0) << both.err.constData();
    EXPECT_EQ(both.out, "Installed package 'B'\nInstalled package 'A'\n");
    Package c{"C", "1.0", "dependencies=\"D\"", {{"c.h", "c"}}};
    Package d{"D", "1.0", "dependencies=\"C\"", {{"d.h", "d"}}};
    const ProgramRun cycle = install({make(c), make(d)});
    EXPECT_EQ(cycle.err, "Package installation error: dependency cycle between packages: C -> D -> C\n");
    EXPECT_FALSE(QFileInfo::exists(root + "/C"));
}

TEST_F(PackageInstall, RemovalIsRefusedWhileAPackageDependsOnIt)
{
    Package a{"A", "1.0", "dependencies=\"B\"", {{"a.h", "a"}}};
    Package b{"B", "1.0", "", {{"inc/deep/b.h", "b"}, {"inc/changed.h", "x"}}};
    ASSERT_EQ(install({make(b), make(a)}).exitCode, 0);
    const ProgramRun refused = tess({"pkg", "remove", "B"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.err, "tess pkg remove: cannot remove package 'B': package 'A' depends on it\n");
    TestSupport::writeFile(root + "/B/inc/changed.h", "edited");
    const ProgramRun both = tess({"pkg", "remove", "B", "A"});
    ASSERT_EQ(both.exitCode, 0) << both.err.constData();
    EXPECT_EQ(both.out.toStdString(), "Removed package 'A'\nKept changed file " + (root + "/B/inc/changed.h").toStdString()
                                          + "\nRemoved package 'B'\n");
    EXPECT_EQ(snapshot(), QStringList{"B/inc/changed.h: edited"});
    EXPECT_FALSE(QFileInfo::exists(root + "/A"));
    EXPECT_EQ(tess({"pkg", "remove", "B"}).err, "tess pkg remove: package 'B' is not installed\n");
}

TEST_F(PackageInstall, ReplacedAndUninstalledPackagesGoOnceTheNewOneIsInPlace)
{
    Package old{"old", "1.0", "installation_directory=\"$(PackagesDir)/shared\"", {{"common.h", "same"}, {"old-only.h", "o"}}};
    Package legacy{"legacy", "1.0", "", {{"l.h", "l"}}};
    ASSERT_EQ(install({make(old), make(legacy)}).exitCode, 0);
    Package fresh{"new", "2.0", "installation_directory=\"$(PackagesDir)/shared\" replaces=\"old\" uninstalls=\"legacy\"",
                  {{"common.h", "same"}}};
    Package user{"user", "1.0", "dependencies=\"old\"", {{"u.h", "u"}}};
    const ProgramRun run = install({make(fresh), make(user)});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, "Removed package 'old'\nRemoved package 'legacy'\nInstalled package 'new'\nInstalled package 'user'\n");
    EXPECT_EQ(TestSupport::readFile(root + "/shared/common.h"), "same");
    EXPECT_FALSE(QFileInfo::exists(root + "/shared/old-only.h"));
    EXPECT_EQ(tess({"pkg", "status"}).out, "new 2.0 installed\nuser 1.0 installed\n");
}

TEST_F(PackageInstall, TheAvailableListSuppliesPackagesByNameWithTheirMd5)
{
    const QString b = make({"B", "1.1", "", {{"b.h", "b"}}});
    const QByteArray md5 = QCryptographicHash::hash(TestSupport::readFile(b), QCryptographicHash::Md5).toHex();
    QDir().mkpath(root + "/downloads");
    TestSupport::writeFile(root + "/downloads/available_packages.xml",
                           "<packages>\n<package name=\"B\" version=\"1.1\" url=\"../../B-1.1.qvPackage\" md5=\"" + md5 + "\"/>\n"
                           "<package name=\"remote\" version=\"1.0\" url=\"https://example.invalid/r.qvPackage\"/>\n"
                           "<package name=\"nowhere\" version=\"1.0\"/>\n"
                           "<package name=\"corrupt\" version=\"1.0\" url=\"../../B-1.1.qvPackage\" md5=\"" + QByteArray(32, '0') + "\"/>\n"
                           "</packages>\n");
    ASSERT_EQ(install({make({"B", "1.0", "", {{"b.h", "old"}}})}).exitCode, 0);
    EXPECT_EQ(tess({"pkg", "status"}).out, "B 1.0 update available\ncorrupt 1.0 not installed\nnowhere 1.0 not installed\n"
                                           "remote 1.0 not installed\n");
    const ProgramRun byName = install({"B"});
    ASSERT_EQ(byName.exitCode, 0) << byName.err.constData();
    EXPECT_EQ(byName.out, "Verified correct MD5 sum for B-1.1.qvPackage (" + md5 + ")\nInstalled package 'B'\n");
    EXPECT_EQ(installed("B/b.h"), "b");
    const ProgramRun corrupt = install({"corrupt"});
    EXPECT_EQ(corrupt.out, "Incorrect MD5 sum for B-1.1.qvPackage (expected " + QByteArray(32, '0') + " got " + md5 + ")\n");
    EXPECT_EQ(corrupt.err, "Package installation error: MD5 verification failed\n");
    EXPECT_EQ(install({"remote"}).err, "Package installation error: cannot install package remote as it is not a local file\n");
    EXPECT_EQ(install({"nowhere"}).err, "Package installation error: cannot install package nowhere as no URL has been specified\n");
    EXPECT_EQ(install({"unknown"}).err, "Package installation error: no package file or available package named 'unknown'\n");
}

TEST_F(PackageInstall, AFullDiskLeavesTheFormerInstallation)
{
    ASSERT_EQ(install({make({"acme", "1.0", "", {{"a.h", "one"}}})}).exitCode, 0);
    const QStringList before = snapshot();
    const QString update = make({"acme", "2.0", "", {{"a.h", "two"}, {"big.bin", QByteArray(300000, 'b')}}, 1800000000});
    const ProgramRun run = TestSupport::runProgram(
        QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QStringLiteral("trap '' XFSZ; ulimit -f 100; exec '%1' pkg install '%2' --root '%3'")
                                                              .arg(TestSupport::binPath(QStringLiteral("tess")), update, root)});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err.toStdString(), "Package installation error: Cannot create " + (root + "/acme/big.bin").toStdString() + " for writing.\n");
    EXPECT_EQ(snapshot(), before);
    EXPECT_FALSE(QFileInfo::exists(root + "/acme/.tess-staging"));
}

// The package manager's plan: removals first, then installations after what they need, with
// missing packages of the available list added.
TEST_F(PackageInstall, ThePlanOrdersTheMarkedActions)
{
    ASSERT_EQ(install({make({"base", "1.0", "", {{"b.h", "b"}}}), make({"tool", "1.0", "dependencies=\"base\"", {{"t.h", "t"}}}),
                       make({"old", "1.0", "", {{"o.h", "o"}}})})
                  .exitCode,
              0);
    QDir().mkpath(root + "/downloads");
    TestSupport::writeFile(root + "/downloads/available_packages.xml",
                           "<packages><package name=\"base\" version=\"1.1\"/><package name=\"lib\" version=\"1.0\"/>"
                           "<package name=\"app\" version=\"1.0\" dependencies=\"lib;base\"/>"
                           "<package name=\"loop\" version=\"1.0\" dependencies=\"loop2\"/>"
                           "<package name=\"loop2\" version=\"1.0\" dependencies=\"loop\"/></packages>");
    PackageSystem system(root, nullptr);
    system.open();
    using Action = PackageSystemPackageInfo::Action;
    system.findPackage(QStringLiteral("app"))->action = Action::Install;
    system.findPackage(QStringLiteral("base"))->action = Action::Update;
    system.findPackage(QStringLiteral("old"))->action = Action::Remove;
    system.findPackage(QStringLiteral("tool"))->action = Action::Reinstall;
    QStringList steps;
    for (const PackagePlanStep &step : system.plan())
        steps.append(PackageSystemPackageInfo::menuText(step.action) + u' ' + step.name);
    EXPECT_EQ(steps, (QStringList{"&Remove Selected Packages old", "&Install Selected Packages lib",
                                  "&Update Selected Packages base", "&Install Selected Packages app",
                                  "Re&install Selected Packages tool"}));
    system.findPackage(QStringLiteral("loop"))->action = Action::Install;
    try {
        (void)system.plan();
        ADD_FAILURE() << "a cycle was planned";
    } catch (const HException &error) {
        EXPECT_EQ(error.message(), "dependency cycle between packages: loop -> loop2 -> loop");
    }
}

struct BadPackageCase {
    const char *name;
    std::vector<Entry> entries;
    QByteArray message;
};

class BadPackages : public PackageInstall, public ::testing::WithParamInterface<BadPackageCase> {};

TEST_P(BadPackages, AreRefusedAndChangeNothing)
{
    ASSERT_EQ(install({make({"keep", "1.0", "", {{"k.h", "k"}}})}).exitCode, 0);
    const QStringList before = snapshot();
    const QString file = path(QStringLiteral("bad.qvPackage"));
    TestSupport::writeFile(file, ArchiveBytes::format2Archive(GetParam().entries));
    const ProgramRun run = install({file});
    EXPECT_EQ(run.exitCode, 1);
    QByteArray message = GetParam().message;
    message.replace("ROOT", root.toUtf8());
    EXPECT_EQ(run.err.toStdString(), ("Package installation error: " + message + "\n").toStdString());
    EXPECT_EQ(snapshot(), before);
}

INSTANTIATE_TEST_SUITE_P(
    Packages, BadPackages,
    ::testing::Values(
        BadPackageCase{"notXml", {{"bad_package.xml", "just text"}}, "bad package description bad_package.xml: no package element"},
        BadPackageCase{"noName", {{"bad_package.xml", "<package version=\"1\"/>"}}, "bad package description bad_package.xml: no package name"},
        BadPackageCase{"brokenXml", {{"bad_package.xml", "<package name=\"x\"></other>"}},
                       "bad package description bad_package.xml: tagName mismatch at line 1"},
        BadPackageCase{"parentName", {{"bad_package.xml", "<package name=\"bad\"/>"}, {"../escape.h", "x"}},
                       "unsafe file name in archive: ../escape.h"},
        BadPackageCase{"intoTheRegistry",
                       {{"bad_package.xml", "<package name=\"bad\" installation_directory=\"$(PackagesDir)\"/>"},
                        {"packages/keep_package.xml", "<package name=\"keep\"/>"}},
                       "unsafe file name in archive: packages/keep_package.xml"},
        BadPackageCase{"stealsADescription",
                       {{"keep_package.xml", "<package name=\"thief\"/>"}},
                       "package description " + QByteArray("ROOT") + "/packages/keep_package.xml belongs to installed package 'keep'"}),
    [](const auto &info) { return std::string(info.param.name); });

} // namespace
