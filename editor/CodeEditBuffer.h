#pragma once
#include <QByteArray>
#include <QString>
#include <QStringView>
#include <compare>
#include <limits>
#include <memory>
#include <vector>

class CodeEditParser;

// A place in the text: line, then column, both from 0. The column counts UTF-16 units of the
// line's text, not screen columns. Ordered field by field.
struct CodeEditBufferPosition {
    qint32 line = 0;
    qint32 column = 0;

    friend bool operator==(CodeEditBufferPosition, CodeEditBufferPosition) = default;
    friend auto operator<=>(CodeEditBufferPosition, CodeEditBufferPosition) = default;
};

// Block class bits of CodeEditLine::flags, written by the rescan of the syntax colouring.
constexpr quint32 lineBlockMask = 56;
constexpr quint32 lineOpensBlock = 16;
constexpr quint32 lineClosesBlock = 24;
constexpr quint32 lineInsideBlock = 32;

// One line of text with what the syntax colouring keeps per line.
struct CodeEditLine {
    QString text;                // without its terminator
    quint32 flags = 0;           // block class (lineBlockMask) and margin marks
    qint32 startState = -1;      // parser state at the start of the line; -1: not known
    QString startStateText;      // text part of that state (a raw-string delimiter)
    quint8 dirty = 1;            // text changed since the line was last parsed
    qint32 blockDepth = 0;       // running block depth at this line
    qint32 cachedWidth = -1;     // -1: not measured
};

// Line terminator kinds; also the values of a document's line ending.
enum LineEndingKind : int { LineEndingCrLf = 0, LineEndingLf = 1, LineEndingCr = 2, LineEndingUnknown = 3 };

// The text of a loaded file. Lines that nobody has edited since the load stay ranges of it, so a
// large file costs its own size once and a save can write the untouched stretches unchanged.
struct CodeEditLoadedText {
    enum class Form : quint8 {
        Latin1,   // `bytes`, one character per byte
        Utf8,     // `bytes`, valid UTF-8
        Utf16,    // `text`
    };
    Form form = Form::Latin1;
    QByteArray bytes;
    QString text;
};

// A run of whole lines of a loaded text: [begin, end) in bytes or UTF-16 units, without the
// terminator after the last line.
struct CodeEditLoadedRun {
    qsizetype begin = 0;
    qsizetype end = 0;
    int lineCount = 0;
    int terminator = -1;   // LineEndingKind of every terminator inside the run; -1 when they differ
    bool ascii = false;    // no byte above 127, so bytes and characters agree
};

// Receives the lines of a buffer in order for writing them out.
class CodeEditLineWriter {
public:
    enum class RawResult { Written, Declined, Failed };
    virtual ~CodeEditLineWriter() = default;
    // Unedited loaded lines as they stand in `source`, terminators between them included. The
    // writer may decline them, and then gets them one by one through line().
    virtual RawResult rawLines(const CodeEditLoadedText &source, const CodeEditLoadedRun &run) = 0;
    // False stops the pass.
    virtual bool line(int index, QStringView text) = 0;
};

// The line store of a document. Lines live in blocks of a few hundred, found by index through a
// tree of block line counts, so any line is reached in logarithmic time; a block that holds
// loaded lines nobody has touched keeps them as a range of the loaded text until it is edited.
// Text with n terminators is n+1 lines; a line index outside the buffer reads as "".
class CodeEditBuffer {
public:
    CodeEditBuffer();
    ~CodeEditBuffer();
    CodeEditBuffer(const CodeEditBuffer &) = delete;
    CodeEditBuffer &operator=(const CodeEditBuffer &) = delete;

    [[nodiscard]] int lineCount() const { return m_lineCount; }
    [[nodiscard]] QString text(int line) const;
    [[nodiscard]] int lineLength(int line) const;
    // The record of a line, for the syntax colouring's state; null outside the buffer.
    CodeEditLine *line(int index);

    // A sequential pass with the buffer's own iterator; any change of the text ends it.
    CodeEditLine *firstLine();
    CodeEditLine *nextLine();

    // Inserts text that may hold "\n"; returns the position after it. A line at or past the
    // count appends; a column past the line's end is taken as its end.
    CodeEditBufferPosition insert(CodeEditBufferPosition position, const QString &text);
    // Removes [start, end), both clamped to the text.
    void remove(CodeEditBufferPosition start, CodeEditBufferPosition end);
    // The nearest position inside the text.
    [[nodiscard]] CodeEditBufferPosition clamped(CodeEditBufferPosition position) const;
    // No lines at all.
    void clear();
    // Replaces everything with the lines of `text` split at "\n": at least one line.
    void setText(const QString &text);
    // Replaces everything with the lines of a loaded text, given as runs of whole lines.
    void setLoadedText(std::shared_ptr<const CodeEditLoadedText> source,
                       const std::vector<CodeEditLoadedRun> &runs, int longestLine);

    // Length of the longest line, computed again when the stored value says so.
    [[nodiscard]] int longestLength();
    // The stored value: -1 when a shrinking change left it unknown.
    [[nodiscard]] int longestLine() const { return m_longestLine; }

    void setParser(CodeEditParser *parser);
    [[nodiscard]] CodeEditParser *parser() const { return m_parser; }
    [[nodiscard]] bool needsRescan() const { return m_needsRescan; }
    void setNeedsRescan(bool needed) { m_needsRescan = needed; }
    [[nodiscard]] quint32 changeCount() const { return m_changeCount; }

    // Syntax colouring (CodeEditMarking.cpp). Brings the start state of every line up to date
    // when a change asked for it, parsing only lines whose start state moved; returns the number
    // of lines parsed that way.
    int rescan();
    // The marked text of a line with its tabs expanded, in a buffer shared by all documents that
    // holds until the next call; null outside the buffer. A buffer without a parser gives the
    // text as it stands, all in class 0.
    const char16_t *markedLine(int line, int tabSize, bool showWhitespace);

    // Hands every line to `writer` in order; false when the writer stopped.
    bool writeLines(CodeEditLineWriter &writer) const;

    // The whole text, lines joined by "\n".
    [[nodiscard]] QString toText() const;

private:
    struct Block;
    struct Located {
        int block;
        int line;   // within the block
    };

    [[nodiscard]] Located locate(int line) const;
    void materialise(Block &block) const;
    Block &editableBlock(int index);
    void setLineText(Block &block, CodeEditLine &line, QString text);
    void lineChanged(Block &block, CodeEditLine &line, int oldLength);
    void noteRemovedLength(int length);
    void insertLines(int line, std::vector<QString> &&texts);
    void removeLines(int first, int count);
    void splitLarge(int blockIndex);
    void rebuildIndex();
    void adjustCount(int blockIndex, int delta);
    void changed();
    // Lines [first, last] as they are now changed, and lines from `shiftFrom` (counted before
    // the change) moved by `delta`: the span the next rescan must look at.
    void noteDirty(int first, int last, int shiftFrom, int delta);
    CodeEditLine *iterateFrom(int index);

    CodeEditParser *m_parser = nullptr;
    std::vector<std::unique_ptr<Block>> m_blocks;
    std::vector<int> m_tree;   // Fenwick tree of the blocks' line counts
    int m_lineCount = 0;
    bool m_needsRescan = false;
    // The lines changed since the last rescan lie within [m_dirtyFirst, m_dirtyLast], so the
    // rescan need not walk the clean lines outside; a new parser makes it parse everything.
    int m_dirtyFirst = 0;
    int m_dirtyLast = std::numeric_limits<int>::max();
    bool m_rescanAll = false;
    quint32 m_changeCount = 0;
    int m_longestLine = 0;
    struct Iterator {
        int block = 0;
        int line = -1;
    } m_iterator;
    // The block found last, for the next question about a line near it. Reset when lines come
    // or go.
    mutable struct LastBlock {
        int index = 0;
        int first = 0;
        int count = 0;
    } m_lastBlock;
    // Where the last read of a loaded block ended, so reading lines in order does not scan the
    // block from its start each time. Reset by every change.
    mutable struct ScanCache {
        const Block *block = nullptr;
        int line = 0;
        qsizetype offset = 0;
    } m_scan;
};
