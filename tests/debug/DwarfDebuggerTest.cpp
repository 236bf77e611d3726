#include "debug/DebugExpressionParser.h"
#include "debug/DwarfDebugger.h"
#include "debug/ElfObjectFile.h"
#include "debug/TextVariableView.h"
#include "foundation/HException.h"
#include "tests/debug/DebugTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// One way of building tests/debug/data/layout.c: compiler, flags, and what the result is.
struct Build {
    const char *name;
    const char *compiler;
    QStringList flags;
    bool bigEndian;
    bool plainCharSigned;
};

const Build builds[] = {
    {"gccDwarf4", "gcc", {"-g", "-gdwarf-4", "-O0"}, false, true},
    {"gccDwarf5", "gcc", {"-g", "-gdwarf-5", "-O0"}, false, true},
    {"gccObject", "gcc", {"-g", "-gdwarf-5", "-O0", "-c"}, false, true},
    {"armBigEndianDwarf4", "clang", {"--target=armeb-none-eabi", "-ffreestanding", "-g", "-gdwarf-4", "-c"}, true, false},
    {"armDwarf5", "clang", {"--target=arm-none-eabi", "-ffreestanding", "-g", "-gdwarf-5", "-c"}, false, false},
    {"powerPcDwarf5", "clang", {"--target=powerpc-linux-gnu", "-ffreestanding", "-g", "-gdwarf-5", "-c"}, true, false},
};

// The image of a build, compiled once per test program; empty when its compiler is missing.
QString imageOf(const Build &build)
{
    QString error;
    const QString path = DebugTestSupport::builtOnce(QLatin1String(build.name), QLatin1String(build.compiler),
                                                     QStringLiteral("layout.c"), build.flags, &error);
    EXPECT_TRUE(error.isEmpty()) << error.toStdString();
    return path;
}

class DebugImage : public ::testing::TestWithParam<Build> {
protected:
    void SetUp() override
    {
        const QString image = imageOf(GetParam());
        if (image.isEmpty())
            GTEST_SKIP() << GetParam().compiler << " is not installed";
        m_engine = std::make_unique<DwarfDebugger>(image);
        m_parser = std::make_unique<DebugExpressionParser>(*m_engine);
    }

    // The expression's one-line text, or its failure in angle brackets.
    QString show(const QString &expression, int elements = 100)
    {
        try {
            const std::unique_ptr<Expression> tree = m_parser->parse(expression);
            TextVariableView view;
            view.setElementLimit(elements);
            view.walk(*m_parser, QString(), tree->evaluate(), Radix::Decimal);
            return view.text();
        } catch (const ParserException &exception) {
            return u'<' + exception.message() + u'>';
        }
    }

    QString typeOf(const QString &expression)
    {
        const std::unique_ptr<Expression> tree = m_parser->parse(expression);
        return m_parser->typeOf(tree->evaluate())->name();
    }

    std::unique_ptr<DwarfDebugger> m_engine;
    std::unique_ptr<DebugExpressionParser> m_parser;
};

struct Shown {
    const char *expression;
    const char *text;
};

// What every build shows alike: values, members, elements, arithmetic and the failures.
const Shown commonValues[] = {
    {"counter", "42"},
    {"big", "4000000000"},
    {"negative_short", "-300"},
    {"long_value", "-5"},
    {"letter", "65"},
    {"small", "-56"},
    {"high_byte", "200"},
    {"high_byte + 100", "44"},
    {"typed_byte", "7"},
    {"chained", "9"},
    {"truth", "true"},
    {"ratio", "0.25"},
    {"precise * 2", "5"},
    {"shade", "BLUE"},
    {"odd_shade", "3"},
    {"origin", "{x=3,y=-4}"},
    {"path", "[{x=1,y=2},{x=3,y=4},{x=5,y=6}]"},
    {"path[1].y * 2", "8"},
    {"*(ring_head + 1)", "{value=20,next=0x"},
    {"((struct point *)&path[0])[2].y", "6"},
    {"&path[2] - &path[0]", "2"},
    {"grid", "[[1,2,3],[4,5,6]]"},
    {"grid[1][2]", "6"},
    {"flag_set", "{low=5,mid=-7,wide=703710,on=true,tint=GREEN,tail=90}"},
    {"message.word", "287454020"},
    {"message.pair", "{a=-1,b=2}"},
    {"ring[2].next->value", "10"},
    {"ring_head->next->next->next == ring_head", "true"},
    {"ring[0].next->next->value + ring_head->value", "40"},
    {"twice::calls", "3"},
    {"file_static", "17"},
    {"::counter + 1", "43"},
    {"sizeof(struct flags)", "8"},
    {"sizeof path", "24"},
    {"sizeof(struct point [4])", "32"},
    {"(unsigned char)counter + 250", "36"},
    {"(octet_t)300", "44"},
    {"(short)-1 == -1", "true"},
    {"(struct point)counter", "<cannot cast>"},
    {"(nosuch_t)counter", "<nosuch_t symbol not found>"},
    {"GREEN + 1", "6"},
    {"counter / 0", "<divide by zero>"},
    {"origin + 1", "<unsupported binary numeric operation>"},
    {"path * 2", "<unsupported binary numeric operation>"},
    {"origin.z", "<no member named z>"},
    {"counter.x", "<no member named x>"},
    {"*counter", "<cannot dereference>"},
    {"*null_pointer", "<cannot access memory at 0x00000000>"},
    {"numbers[-100000000]", "<cannot access memory at 0x"},
    {"numbers[0x4000000000000000]", "<index out of range>"},
    {"numbers[149]", "0"},
    {"1 = 2", "<can't update a constant>"},
    {"@r0", "<unknown register>"},
    {"twice(2)", "<no target to call functions on>"},
    {"twice(origin)", "<numeric argument expected>"},
    {"this", "<this symbol not found>"},
    {"nosuch + 1", "<nosuch symbol not found>"},
    {"twice::nosuch", "<twice::nosuch symbol not found>"},
    {"addressof(\"nosuch.c\", 3)", "<no code at nosuch.c:3>"},
    {"greeting_ptr[1]", "105"},
};

TEST_P(DebugImage, ShowsValuesMembersAndFailures)
{
    for (const Shown &row : commonValues) {
        const QString text = show(QString::fromUtf8(row.expression));
        EXPECT_TRUE(text.startsWith(QString::fromUtf8(row.text))) << row.expression << ": " << text.toStdString();
    }
}

TEST_P(DebugImage, NamesTypesAsTheSourceDoes)
{
    const QString plainChar = GetParam().plainCharSigned ? QStringLiteral("char") : QStringLiteral("unsigned char");
    EXPECT_EQ(typeOf(QStringLiteral("letter")), plainChar);
    EXPECT_EQ(typeOf(QStringLiteral("greeting")), plainChar + QStringLiteral("[10]"));
    EXPECT_EQ(typeOf(QStringLiteral("shade")), QStringLiteral("enum colour"));
    EXPECT_EQ(typeOf(QStringLiteral("typed_byte")), QStringLiteral("byte_t"));
    EXPECT_EQ(typeOf(QStringLiteral("path")), QStringLiteral("struct point[3]"));
    EXPECT_EQ(typeOf(QStringLiteral("grid")), QStringLiteral("int[2][3]"));
    EXPECT_EQ(typeOf(QStringLiteral("&origin")), QStringLiteral("struct point*"));
    EXPECT_EQ(typeOf(QStringLiteral("message.pair")), QStringLiteral("struct {int16_t a; int16_t b;}"));
    EXPECT_EQ(typeOf(QStringLiteral("truth")), QStringLiteral("boolean"));
    EXPECT_EQ(typeOf(QStringLiteral("counter + 1")), QStringLiteral("int"));
    EXPECT_EQ(typeOf(QStringLiteral("ring_head + 1")), QStringLiteral("struct node*"));
}

TEST_P(DebugImage, StoresChangeTheSnapshotInTheTargetsByteOrder)
{
    EXPECT_EQ(show(QStringLiteral("counter = 7")), QStringLiteral("7"));
    EXPECT_EQ(show(QStringLiteral("counter += 3")), QStringLiteral("10"));
    EXPECT_EQ(show(QStringLiteral("flag_set.mid = 100")), QStringLiteral("4")); // cut to 5 bits
    EXPECT_EQ(show(QStringLiteral("flag_set")), QStringLiteral("{low=5,mid=4,wide=703710,on=true,tint=GREEN,tail=90}"));
    EXPECT_EQ(show(QStringLiteral("flag_set.wide = -1")), QStringLiteral("1048575"));
    EXPECT_EQ(show(QStringLiteral("flag_set.low")), QStringLiteral("5"));
    EXPECT_EQ(show(QStringLiteral("letter = 300")), QStringLiteral("44"));
    EXPECT_EQ(show(QStringLiteral("truth = 0")), QStringLiteral("false"));
    EXPECT_EQ(show(QStringLiteral("ratio = 3")), QStringLiteral("3"));
    EXPECT_EQ(show(QStringLiteral("shade = GREEN")), QStringLiteral("GREEN"));
    EXPECT_EQ(show(QStringLiteral("message.bytes[0] = 0xff")), QStringLiteral("255"));
    EXPECT_EQ(show(QStringLiteral("message.word")),
              GetParam().bigEndian ? QStringLiteral("4280431428") : QStringLiteral("287454207"));
    EXPECT_EQ(show(QStringLiteral("origin = path[2]")), QStringLiteral("{x=5,y=6}"));
    EXPECT_EQ(show(QStringLiteral("ring[1].next = &ring[1]")).isEmpty(), false);
    EXPECT_EQ(show(QStringLiteral("ring[1].next->next->value")), QStringLiteral("20"));
    EXPECT_EQ(show(QStringLiteral("*null_pointer = 1")), QStringLiteral("<cannot access memory at 0x00000000>"));
}

TEST_P(DebugImage, AHugeArrayIsWalkedOnlyAsFarAsTheElementLimit)
{
    EXPECT_EQ(show(QStringLiteral("*huge_pointer"), 2),
              QStringLiteral("[<cannot access memory at 0x00000000>,<cannot access memory at 0x00000001>,...]"));
    EXPECT_EQ(show(QStringLiteral("numbers"), 3), QStringLiteral("[0,0,0,...]"));
}

TEST_P(DebugImage, FindsTheLinesOfTheSource)
{
    const QString address = show(QStringLiteral("addressof(\"layout.c\", 79)"));
    EXPECT_TRUE(address.startsWith(QStringLiteral("0x"))) << address.toStdString();
    EXPECT_EQ(show(QStringLiteral("addressof(\"layout.c\", 1)")), QStringLiteral("<no code at layout.c:1>"));
}

INSTANTIATE_TEST_SUITE_P(Builds, DebugImage, ::testing::ValuesIn(builds),
                         [](const auto &info) { return std::string(info.param.name); });

// ---- Against the reference debugger, where one is installed

// "$1 = 42" -> "42"; what gdb prints for each expression, in order.
QStringList referenceValues(const QString &image, const QStringList &expressions)
{
    QStringList arguments{QStringLiteral("-batch"), QStringLiteral("-nx")};
    for (const QString &expression : expressions)
        arguments << QStringLiteral("-ex") << QStringLiteral("print (long long)(%1)").arg(expression);
    arguments << image;
    QProcess gdb;
    gdb.start(QStringLiteral("gdb"), arguments);
    gdb.waitForFinished(60000);
    QStringList values;
    static const QRegularExpression line(QStringLiteral("^\\$\\d+ = (.*)$"));
    for (const QString &text : QString::fromUtf8(gdb.readAllStandardOutput()).split(u'\n')) {
        const QRegularExpressionMatch match = line.match(text);
        if (match.hasMatch())
            values.append(match.captured(1));
    }
    return values;
}

TEST(DebugImageAgainstReference, ScalarsAgree)
{
    const QString image = imageOf(builds[1]);
    if (image.isEmpty() || !DebugTestSupport::hasProgram(QStringLiteral("gdb")))
        GTEST_SKIP() << "gcc or gdb is not installed";
    const QStringList expressions = {
        "counter", "big", "negative_short", "long_value", "letter", "small", "high_byte",
        "typed_byte", "flag_set.low", "flag_set.mid", "flag_set.wide", "flag_set.tail",
        "message.word", "message.pair.a", "message.bytes[3]", "ring[2].next->value",
        "grid[1][2]", "path[2].x", "sizeof(struct flags)", "sizeof(struct packet)",
        "sizeof(struct node)", "sizeof(grid)", "twice::calls", "file_static",
        "(long)&path[2] - (long)&path[0]", "(long)&message.pair.b - (long)&message",
        "(long)&flag_set.tail - (long)&flag_set", "counter * 3 - 7", "-counter",
        "greeting[2]", "greeting_ptr[3]",
    };
    const QStringList reference = referenceValues(image, expressions);
    ASSERT_EQ(reference.size(), expressions.size()) << reference.join(u'|').toStdString();
    DwarfDebugger engine(image);
    DebugExpressionParser parser(engine);
    for (qsizetype i = 0; i < expressions.size(); ++i) {
        bool ok = false;
        const ExpressionValue value = parser.evaluate(expressions[i], &ok);
        ASSERT_TRUE(ok) << expressions[i].toStdString() << ": " << parser.errorMessage().toStdString();
        EXPECT_EQ(VariableListBuilder::format(value, Radix::Decimal, value.width), reference[i])
            << expressions[i].toStdString();
    }
}

// ---- Files that are no usable image

struct BadFile {
    const char *name;
    QByteArray bytes;
    const char *message; // after "PATH: "
};

class UnusableImage : public ::testing::TestWithParam<BadFile> {};

TEST_P(UnusableImage, IsRefusedWithAClearMessage)
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("image"));
    TestSupport::writeFile(path, GetParam().bytes);
    try {
        DwarfDebugger engine(path);
        FAIL() << "accepted";
    } catch (const HException &exception) {
        EXPECT_EQ(exception.message(), path + QStringLiteral(": ") + QLatin1String(GetParam().message));
    }
}

INSTANTIATE_TEST_SUITE_P(Files, UnusableImage, ::testing::Values(
    BadFile{"empty", QByteArray(), "not an ELF file"},
    BadFile{"text", QByteArray("int main() { return 0; }\n"), "not an ELF file"},
    BadFile{"magicOnly", QByteArray("\x7f" "ELF"), "not an ELF file"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(UnusableImageFiles, StrippedAndMissingFilesAreRefused)
{
    QTemporaryDir directory;
    EXPECT_THROW(DwarfDebugger(directory.filePath(QStringLiteral("missing"))), HException);
    const QString image = imageOf(builds[1]);
    if (image.isEmpty() || !DebugTestSupport::hasProgram(QStringLiteral("strip")))
        GTEST_SKIP() << "gcc or strip is not installed";
    const QString stripped = directory.filePath(QStringLiteral("stripped"));
    ASSERT_EQ(QProcess::execute(QStringLiteral("strip"), {QStringLiteral("-g"), image, QStringLiteral("-o"), stripped}), 0);
    try {
        DwarfDebugger engine(stripped);
        FAIL() << "accepted";
    } catch (const HException &exception) {
        EXPECT_EQ(exception.message(), stripped + QStringLiteral(": no debug information"));
    }
}

// Every cut of a real image either opens or is refused; nothing crashes or reads past the end.
TEST(UnusableImageFiles, EveryCutOfAnImageEndsCleanly)
{
    const QString image = imageOf(builds[2]);
    if (image.isEmpty())
        GTEST_SKIP() << "gcc is not installed";
    const QByteArray bytes = TestSupport::readFile(image);
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("cut"));
    int refused = 0;
    for (qsizetype length = 0; length < bytes.size(); length += qMax<qsizetype>(1, bytes.size() / 150)) {
        TestSupport::writeFile(path, bytes.left(length));
        try {
            DwarfDebugger engine(path);
            DebugExpressionParser parser(engine);
            (void)parser.evaluate(QStringLiteral("flag_set.mid + path[1].x"));
            TextVariableView view;
            view.walk(parser, QString(), parser.evaluate(QStringLiteral("ring")), Radix::Decimal);
        } catch (const HException &) {
            ++refused;
        }
    }
    EXPECT_GT(refused, 0);
}

// Found by fuzzing: refused after libdwfl had begun its work, which then leaked under the sanitizer.
TEST(UnusableImageFiles, AFileRefusedHalfWayReleasesTheEngine)
{
    const QString path = QStringLiteral(TESS_TEST_DATA "/data/fuzz-refused-half-way.o");
    EXPECT_THROW(DwarfDebugger engine(path), HException);
}

// The debug information itself damaged: its second half overwritten, the file's size kept.
TEST(UnusableImageFiles, DamagedDebugInformationEndsCleanly)
{
    const QString image = imageOf(builds[1]);
    if (image.isEmpty())
        GTEST_SKIP() << "gcc is not installed";
    quint64 offset = 0;
    quint64 size = 0;
    for (const auto &section : ElfObjectFile::open(image)->sections()) {
        if (section->name() == QLatin1String(".debug_info")) {
            offset = section->offset();
            size = section->size();
        }
    }
    ASSERT_GT(size, 0u);
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("damaged"));
    for (const char fill : {'\0', '\xff', '\x01'}) {
        QByteArray bytes = TestSupport::readFile(image);
        for (quint64 i = size / 2; i < size; ++i)
            bytes[qsizetype(offset + i)] = fill;
        TestSupport::writeFile(path, bytes);
        try {
            DwarfDebugger engine(path);
            DebugExpressionParser parser(engine);
            for (const auto &symbol : engine.globals()) {
                TextVariableView view;
                try {
                    view.walk(parser, QString(), parser.valueAt(symbol->type(), symbol->address()), Radix::Decimal);
                } catch (const ParserException &) {
                }
            }
            (void)parser.evaluate(QStringLiteral("sizeof(struct flags) + ring_head->next->value"));
        } catch (const HException &) {
        }
    }
}

} // namespace
