// The rescan that keeps each line's start state and block depth, and the marked line made from
// them.
#include "editor/CodeEditBuffer.h"
#include "editor/CodeEditParser.h"
#include <algorithm>
#include <vector>

namespace {

// Longest expanded line the colouring makes: beyond it a tab takes one column, so a line of
// tabs cannot turn into gigabytes.
constexpr qsizetype maximumExpandedLength = qsizetype(1) << 24;

constexpr char16_t shownNul = 0x2400;
constexpr char16_t replacement = 0xFFFD;
constexpr char16_t shownTab = 187;
constexpr char16_t shownSpace = 183;

// The buffers shared by every document: one line at a time.
struct SharedBuffers {
    std::vector<char16_t> input;
    std::vector<char16_t> output = std::vector<char16_t>(1024);
};

SharedBuffers &sharedBuffers()
{
    static SharedBuffers buffers;
    return buffers;
}

char16_t *outputFor(qsizetype inputLength)
{
    std::vector<char16_t> &output = sharedBuffers().output;
    const size_t needed = size_t(inputLength) * 4 + 10;
    if (output.size() < needed)
        output.resize(needed);
    return output.data();
}

// What the parser reads of a line: the text itself when it holds no NUL and no switch
// character, else a copy in which they show as harmless characters.
const char16_t *parserInput(const QString &text)
{
    const char16_t *begin = reinterpret_cast<const char16_t *>(text.utf16());
    const char16_t *end = begin + text.size();
    if (std::none_of(begin, end, [](char16_t c) { return c == 0 || c == markSwitch; }))
        return begin;
    std::vector<char16_t> &input = sharedBuffers().input;
    input.assign(begin, end);
    for (char16_t &c : input) {
        if (c == 0)
            c = shownNul;
        else if (c == markSwitch)
            c = replacement;
    }
    input.push_back(0);
    return input.data();
}

qsizetype expandedLength(QStringView text, int tabSize)
{
    qsizetype column = 0;
    for (const QChar c : text)
        column = c == u'\t' ? column + tabSize - column % tabSize : column + 1;
    return column;
}

void expand(QStringView text, int tabSize, bool showWhitespace, std::vector<char16_t> &input)
{
    input.clear();
    if (tabSize < 1 || expandedLength(text, tabSize) > maximumExpandedLength)
        tabSize = 1;
    for (const QChar qc : text) {
        const char16_t c = qc.unicode();
        if (c == '\t') {
            const size_t width = size_t(tabSize) - input.size() % size_t(tabSize);
            input.push_back(showWhitespace ? shownTab : ' ');
            input.insert(input.end(), width - 1, ' ');
        } else if (c == ' ') {
            input.push_back(showWhitespace ? shownSpace : ' ');
        } else {
            input.push_back(c == 0 ? shownNul : c == markSwitch ? replacement : c);
        }
    }
    input.push_back(0);
}

quint32 blockClass(int delta, int depth)
{
    if (delta < 0)
        return lineClosesBlock;
    if (delta > 0)
        return lineOpensBlock;
    return depth > 0 ? lineInsideBlock : 0;
}

} // namespace

int CodeEditBuffer::rescan()
{
    if (!m_needsRescan || !m_parser)
        return 0;
    m_needsRescan = false;
    const bool all = m_rescanAll;
    m_rescanAll = false;
    const int first = m_dirtyFirst;
    const int last = std::min(m_dirtyLast, m_lineCount - 1);
    m_dirtyFirst = std::numeric_limits<int>::max();
    m_dirtyLast = -1;
    if (first > last)
        return 0;
    CodeEditParser &parser = *m_parser;
    int parsed = 0;
    qint32 state = 0;
    QString stateText;
    int depth = 0;
    // Lines before the first changed one are clean and keep their states; the walk starts there.
    CodeEditLine *previous = first > 0 ? line(first - 1) : nullptr;
    CodeEditLine *current = iterateFrom(first);
    int index = first;
    while (current) {
        if (!all && !current->dirty) {
            if (index >= last)
                break;   // nothing after a clean line past the changes can differ
            previous = current;
            current = nextLine();
            ++index;
            continue;
        }
        state = 0;
        stateText.clear();
        depth = 0;
        if (previous) {
            // The state at the end of the line before, from its own start state.
            parser.state = previous->startState;
            parser.stateText = previous->startStateText;
            int delta = 0;
            parser.parse(parserInput(previous->text), outputFor(previous->text.size()), &delta);
            state = parser.state;
            stateText = parser.stateText;
            depth = std::max(0, previous->blockDepth + delta);
        }
        current->startState = -1;
        // Parse on while the start states differ; a clean line whose stored state agrees ends
        // the run, since nothing after it changes until the next changed line.
        while (current && ((all && index <= last) || current->dirty || state != current->startState
                           || stateText != current->startStateText)) {
            current->dirty = 0;
            current->startState = state;
            current->startStateText = stateText;
            current->blockDepth = depth;
            parser.state = state;
            parser.stateText = stateText;
            int delta = 0;
            parser.parse(parserInput(current->text), outputFor(current->text.size()), &delta);
            state = parser.state;
            stateText = parser.stateText;
            depth = std::max(0, depth + delta);
            current->flags = (current->flags & ~lineBlockMask) | blockClass(delta, depth);
            ++parsed;
            previous = current;
            current = nextLine();
            ++index;
        }
    }
    return parsed;
}

const char16_t *CodeEditBuffer::markedLine(int index, int tabSize, bool showWhitespace)
{
    if (index < 0 || index >= m_lineCount)
        return nullptr;
    rescan();
    CodeEditLine *record = line(index);
    if (!record)
        return nullptr;
    SharedBuffers &buffers = sharedBuffers();
    expand(record->text, tabSize, showWhitespace, buffers.input);
    char16_t *output = outputFor(qsizetype(buffers.input.size()));
    if (!m_parser) {
        std::copy(buffers.input.begin(), buffers.input.end(), output);
        return output;
    }
    m_parser->state = std::max(0, record->startState);
    m_parser->stateText = record->startStateText;
    int delta = 0;
    m_parser->parse(buffers.input.data(), output, &delta);
    return output;
}
