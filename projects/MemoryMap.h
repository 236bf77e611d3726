#pragma once
#include "foundation/XMLPP2.h"
#include "projects/MemoryMapElement.h"
#include <QHash>
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

class SimpleExpressionParser;

// A memory-map or section-placement document: the segments, register groups, registers, bit
// fields, enums and vectors of a device, or the program sections placed in segments. Every
// element is a MemoryMapElement; directive messages go to the warning channel (and are kept in
// messages()), and a map that parses but says odd things loads all the same.
//
//     MemoryMap map;
//     if (!map.load(path, QStringLiteral("Family=F4")))
//         ...;                                   // errorText() and errorLine() tell why
//     map.calculateAddresses();                  // start and size of every element
//     const MemoryMapElement *uart = MemoryMap::findByName(map.mapRoot(),
//                                                          MemoryMapKind::RegisterGroup, "UART0");
class MemoryMap : public XMLPP2 {
public:
    // Elements nest at most this deep for the address calculation; deeper ones keep 0.
    static constexpr int maxNesting = 256;

    explicit MemoryMap(quint8 documentFlag = 0);
    ~MemoryMap() override;

    [[nodiscard]] XMLElement *createElement(char *name) override;
    void error(const QString &message) override;

    // Loads `path` with the macros of `macroDefinitions` ("A=1;B=2"), which also reach
    // attribute values. 0 when the file could not be read or parsed.
    using XMLPP2::load;
    [[nodiscard]] int load(const QString &path, const QString &macroDefinitions);

    // Loads a map for a tool: throws HException "PATH: cannot open: why", "PATH:LINE: why" for
    // XML that does not parse, "PATH: no root element" for an empty or truncated file.
    [[nodiscard]] static std::unique_ptr<MemoryMap> open(const QString &path,
                                                         const QString &macroDefinitions);

    [[nodiscard]] quint8 documentFlag() const { return m_documentFlag; }
    [[nodiscard]] const QString &fileName() const { return m_fileName; }
    [[nodiscard]] const QString &macroDefinitions() const { return m_macroDefinitions; }
    // The files elements came from: the loaded file first, then includes as they were read.
    [[nodiscard]] const QStringList &files() const { return m_files; }
    // "file:line" of an element, for messages.
    [[nodiscard]] QString location(const XMLNode *node) const;
    [[nodiscard]] MemoryMapElement *mapRoot() const { return asMemoryMapElement(root()); }

    // ---- Addresses
    // Computes start and size of `element` and everything below it: a start that begins with
    // "+" is relative to `base`, which segments, sections and groups pass on to their children;
    // registers pass on the base they were given; bit fields and enums count from 0. Segment,
    // section and group sizes are expressions, register, field and enum sizes plain numbers.
    // An expression that fails gives 0 (a start) or leaves the size as it was; the failures are
    // kept in evaluationProblems() for a check, never reported as errors.
    void calculateAddresses(MemoryMapElement *element, quint32 base);
    void calculateAddresses();   // from the root with base 0

    struct EvaluationProblem {
        const MemoryMapElement *element;
        const char *attribute;   // "start" or "size"; null for an element nested too deep
        QString text;
        QString message;         // "divide by zero", "foo symbol not found", "is negative"
        bool noValue;            // the text gave no value: the start became 0, the size stayed
    };
    // The failures of the last calculateAddresses, in document order, with the sizes that did
    // evaluate but are negative or too large for 32 bits.
    [[nodiscard]] const std::vector<EvaluationProblem> &evaluationProblems() const
    {
        return m_problems;
    }
    // "Register 'r' start 'zz' does not evaluate (zz symbol not found)".
    [[nodiscard]] static QString problemText(const EvaluationProblem &problem);

    // -1 if b's start is below a's, 0 if they are equal, 1 otherwise.
    [[nodiscard]] static int compareByStart(const MemoryMapElement *a, const MemoryMapElement *b);

    // ---- Building a map from code. Each attribute that is not empty is set, in the order name,
    // start, size, access, description; the new element is appended to `parent`.
    MemoryMapElement *addElement(MemoryMapElement *parent, const char *tag, const QString &name,
                                 const QString &start, const QString &size,
                                 const QString &access, const QString &description);
    MemoryMapElement *addRegisterGroup(MemoryMapElement *parent, const QString &name,
                                       const QString &start, const QString &size,
                                       const QString &access, const QString &description);
    MemoryMapElement *addRegister(MemoryMapElement *parent, const QString &name,
                                  const QString &start, const QString &size,
                                  const QString &access, const QString &description);
    MemoryMapElement *addBitField(MemoryMapElement *parent, const QString &name,
                                  const QString &start, const QString &size,
                                  const QString &access, const QString &description);

    // ---- Look-ups, depth first from `element` itself.
    // The first element of `kind` whose `attribute` (null: any element of the kind) equals
    // `text`, compared as C strings, with or without case.
    [[nodiscard]] static MemoryMapElement *findElement(MemoryMapElement *element,
                                                       MemoryMapKind kind, const char *attribute,
                                                       const char *text, bool caseSensitive);
    // The first element of `kind` whose name attribute equals `name`.
    [[nodiscard]] static MemoryMapElement *findByName(MemoryMapElement *element,
                                                      MemoryMapKind kind, const QString &name);
    // A deep copy of `element` with everything below it; the caller owns it.
    [[nodiscard]] static std::unique_ptr<MemoryMapElement> cloneTree(const MemoryMapElement *element);

    // The bytes a register occupies: its size, 4 when it names none.
    [[nodiscard]] static quint32 registerBytes(const MemoryMapElement *element);
    // The bits a bit field covers: its size, 1 when it names none.
    [[nodiscard]] static quint32 fieldBits(const MemoryMapElement *element);
    // "0x4001A000": at least eight upper-case digits.
    [[nodiscard]] static QString hexText(quint64 value);
    // `top` and every element below it, depth first in document order.
    [[nodiscard]] static std::vector<MemoryMapElement *> elementsInOrder(MemoryMapElement *top);
    // "Register 'MODER'", "RegisterGroup (unnamed)": an element as messages name it.
    [[nodiscard]] static QString describe(const MemoryMapElement *element);

    // "4.7%": part in per mille of whole, truncated, written with one decimal.
    [[nodiscard]] static QString usagePercent(quint64 part, quint64 whole);

private:
    void calculate(MemoryMapElement *element, qint64 base, int depth);
    // The start of `element` from its text, relative to `base` for a "+" text; records failures.
    [[nodiscard]] qint64 computeStart(MemoryMapElement *element, qint64 base);
    void computeSize(MemoryMapElement *element);
    [[nodiscard]] qint64 evaluate(const MemoryMapElement *element, const char *attribute,
                                  const QString &text, bool *ok);

    quint8 m_documentFlag;
    QString m_fileName;
    QString m_macroDefinitions;
    QStringList m_files;
    QHash<QString, int> m_fileIndex;
    std::vector<EvaluationProblem> m_problems;
    std::unique_ptr<SimpleExpressionParser> m_parser;
};
