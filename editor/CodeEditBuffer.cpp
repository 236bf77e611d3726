#include "editor/CodeEditBuffer.h"
#include <QStringDecoder>
#include <algorithm>
#include <bit>

namespace {

// Lines per block after a split, and the size at which a block splits. Small enough that
// inserting into a block's vector is cheap, large enough that the block tree stays shallow.
constexpr int blockLines = 256;
constexpr int maxBlockLines = 2 * blockLines;

// The end of the line that starts at `from` in a run ending at `end`, and where the next line
// starts. The last line of a run has no terminator.
template <typename Ch>
qsizetype lineEnd(const Ch *data, qsizetype from, qsizetype end, qsizetype *next)
{
    for (qsizetype i = from; i < end; ++i) {
        if (data[i] == Ch('\n')) {
            *next = i + 1;
            return i;
        }
        if (data[i] == Ch('\r')) {
            *next = i + 1 < end && data[i + 1] == Ch('\n') ? i + 2 : i + 1;
            return i;
        }
    }
    *next = end;
    return end;
}

// UTF-16 units of valid UTF-8: one per byte that is not a continuation byte, and a second one
// for each four-byte sequence.
int utf16Length(const char *data, qsizetype size)
{
    qsizetype units = 0;
    for (qsizetype i = 0; i < size; ++i) {
        const uchar byte = uchar(data[i]);
        units += (byte & 0xC0) != 0x80;
        units += byte >= 0xF0;
    }
    return int(units);
}

// A U+FEFF that starts a line is text like any other: Qt's plain conversion would drop it.
QString decodeUtf8(const char *data, qsizetype size)
{
    QStringDecoder decoder(QStringConverter::Utf8,
                           QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
    return decoder.decode(QByteArrayView(data, size));
}

} // namespace

struct CodeEditBuffer::Block {
    std::vector<CodeEditLine> lines;                   // the lines, once the block was edited
    std::shared_ptr<const CodeEditLoadedText> source;  // set while the block is loaded lines
    CodeEditLoadedRun run;                             // their place in `source`
    int longest = -1;                                  // longest line here; -1: not known

    int count() const { return source ? run.lineCount : int(lines.size()); }

    // The [begin, end) range of loaded line `index`, reading on from `scan` when it lies before.
    std::pair<qsizetype, qsizetype> range(int index, ScanCache &scan) const
    {
        int line = 0;
        qsizetype offset = run.begin;
        if (scan.block == this && scan.line <= index) {
            line = scan.line;
            offset = scan.offset;
        }
        qsizetype next = offset;
        qsizetype stop = offset;
        for (; line <= index; ++line) {
            offset = next;
            stop = source->form == CodeEditLoadedText::Form::Utf16
                       ? lineEnd(reinterpret_cast<const char16_t *>(source->text.constData()), offset, run.end, &next)
                       : lineEnd(source->bytes.constData(), offset, run.end, &next);
        }
        scan = {this, index + 1, next};
        return {offset, stop};
    }

    QString loadedText(std::pair<qsizetype, qsizetype> r) const
    {
        const qsizetype size = r.second - r.first;
        switch (source->form) {
        case CodeEditLoadedText::Form::Latin1:
            return QString::fromLatin1(source->bytes.constData() + r.first, size);
        case CodeEditLoadedText::Form::Utf8:
            return run.ascii ? QString::fromLatin1(source->bytes.constData() + r.first, size)
                             : decodeUtf8(source->bytes.constData() + r.first, size);
        case CodeEditLoadedText::Form::Utf16:
            break;
        }
        return QString(source->text.constData() + r.first, size);
    }

    int loadedLength(std::pair<qsizetype, qsizetype> r) const
    {
        if (source->form == CodeEditLoadedText::Form::Utf8 && !run.ascii)
            return utf16Length(source->bytes.constData() + r.first, r.second - r.first);
        return int(r.second - r.first);
    }

    int computeLongest() const
    {
        int result = 0;
        if (!source) {
            for (const CodeEditLine &line : lines)
                result = std::max(result, int(line.text.size()));
            return result;
        }
        ScanCache scan;
        for (int i = 0; i < run.lineCount; ++i)
            result = std::max(result, loadedLength(range(i, scan)));
        return result;
    }
};

CodeEditBuffer::CodeEditBuffer() = default;
CodeEditBuffer::~CodeEditBuffer() = default;

CodeEditBuffer::Located CodeEditBuffer::locate(int line) const
{
    if (line >= m_lastBlock.first && line < m_lastBlock.first + m_lastBlock.count)
        return {m_lastBlock.index, line - m_lastBlock.first};
    const int blocks = int(m_blocks.size());
    int position = 0;
    int remaining = line;
    for (int step = std::bit_floor(unsigned(blocks)); step > 0; step >>= 1) {
        if (position + step <= blocks && m_tree[position + step] <= remaining) {
            position += step;
            remaining -= m_tree[position];
        }
    }
    if (position < blocks)
        m_lastBlock = {position, line - remaining, m_blocks[position]->count()};
    return {position, remaining};
}

void CodeEditBuffer::rebuildIndex()
{
    m_lastBlock = {};
    const int blocks = int(m_blocks.size());
    m_tree.assign(blocks + 1, 0);
    for (int i = 1; i <= blocks; ++i) {
        m_tree[i] += m_blocks[i - 1]->count();
        const int parent = i + (i & -i);
        if (parent <= blocks)
            m_tree[parent] += m_tree[i];
    }
}

void CodeEditBuffer::adjustCount(int blockIndex, int delta)
{
    m_lastBlock = {};
    for (int i = blockIndex + 1; i < int(m_tree.size()); i += i & -i)
        m_tree[i] += delta;
    m_lineCount += delta;
}

void CodeEditBuffer::changed()
{
    m_needsRescan = true;
    m_scan = {};
    m_iterator = {int(m_blocks.size()), 0};
}

void CodeEditBuffer::materialise(Block &block) const
{
    if (!block.source)
        return;
    block.lines.resize(block.run.lineCount);
    ScanCache scan;
    for (int i = 0; i < block.run.lineCount; ++i)
        block.lines[i].text = block.loadedText(block.range(i, scan));
    block.source.reset();
    m_scan = {};
}

CodeEditBuffer::Block &CodeEditBuffer::editableBlock(int index)
{
    Block &block = *m_blocks[index];
    materialise(block);
    return block;
}

QString CodeEditBuffer::text(int line) const
{
    if (line < 0 || line >= m_lineCount)
        return QString();
    const Located at = locate(line);
    const Block &block = *m_blocks[at.block];
    if (!block.source)
        return block.lines[at.line].text;
    return block.loadedText(block.range(at.line, m_scan));
}

int CodeEditBuffer::lineLength(int line) const
{
    if (line < 0 || line >= m_lineCount)
        return 0;
    const Located at = locate(line);
    const Block &block = *m_blocks[at.block];
    if (!block.source)
        return int(block.lines[at.line].text.size());
    return block.loadedLength(block.range(at.line, m_scan));
}

CodeEditLine *CodeEditBuffer::line(int index)
{
    if (index < 0 || index >= m_lineCount)
        return nullptr;
    const Located at = locate(index);
    return &editableBlock(at.block).lines[at.line];
}

CodeEditLine *CodeEditBuffer::firstLine()
{
    m_iterator = {0, -1};
    return nextLine();
}

CodeEditLine *CodeEditBuffer::nextLine()
{
    if (m_iterator.block >= int(m_blocks.size()))
        return nullptr;
    if (++m_iterator.line >= m_blocks[m_iterator.block]->count()) {
        m_iterator.line = 0;
        if (++m_iterator.block >= int(m_blocks.size()))
            return nullptr;
    }
    return &editableBlock(m_iterator.block).lines[m_iterator.line];
}

// A longer line raises the longest length; the line that had it becoming shorter leaves it to be
// found again. The same rule keeps the buffer's value and the block's.
void CodeEditBuffer::setLineText(Block &block, CodeEditLine &line, QString text)
{
    const int oldLength = int(line.text.size());
    line.text = std::move(text);
    lineChanged(block, line, oldLength);
}

void CodeEditBuffer::lineChanged(Block &block, CodeEditLine &line, int oldLength)
{
    const int newLength = int(line.text.size());
    for (int *longest : {&m_longestLine, &block.longest}) {
        if (*longest < 0)
            continue;
        if (newLength > *longest)
            *longest = newLength;
        else if (oldLength == *longest && newLength < oldLength)
            *longest = -1;
    }
    line.dirty = 1;
    line.cachedWidth = -1;
}

void CodeEditBuffer::noteRemovedLength(int length)
{
    if (m_longestLine >= 0 && length == m_longestLine)
        m_longestLine = -1;
}

CodeEditBufferPosition CodeEditBuffer::insert(CodeEditBufferPosition position, const QString &text)
{
    ++m_changeCount;
    changed();
    if (text.isEmpty())
        return position;
    if (position.line >= 0 && position.line < m_lineCount && !text.contains(u'\n')) {
        // Text within a line, the common case of typing, changes the line in place.
        const Located at = locate(position.line);
        Block &block = editableBlock(at.block);
        CodeEditLine &line = block.lines[at.line];
        const int oldLength = int(line.text.size());
        const int column = std::clamp(position.column, 0, oldLength);
        line.text.insert(column, text);
        lineChanged(block, line, oldLength);
        noteDirty(position.line, position.line, m_lineCount, 0);
        return {position.line, column + int(text.size())};
    }
    std::vector<QString> parts;
    for (const QStringView part : QStringView(text).tokenize(u'\n'))
        parts.emplace_back(part.toString());
    if (position.line >= m_lineCount) {
        const int last = int(parts.back().size());
        noteDirty(m_lineCount, m_lineCount + int(parts.size()) - 1, m_lineCount, 0);
        insertLines(m_lineCount, std::move(parts));
        return {m_lineCount - 1, last};
    }
    const int lineIndex = std::max(position.line, 0);
    const Located at = locate(lineIndex);
    Block &block = editableBlock(at.block);
    CodeEditLine &line = block.lines[at.line];
    const int column = std::clamp(position.column, 0, int(line.text.size()));
    if (parts.size() == 1) {
        const int end = column + int(parts.front().size());
        setLineText(block, line, QString(line.text).insert(column, parts.front()));
        noteDirty(lineIndex, lineIndex, m_lineCount, 0);
        return {lineIndex, end};
    }
    const QString tail = line.text.mid(column);
    setLineText(block, line, line.text.left(column) + parts.front());
    const int added = int(parts.size()) - 1;
    const int endColumn = int(parts.back().size());
    parts.back() += tail;
    parts.erase(parts.begin());
    noteDirty(lineIndex, lineIndex + added, lineIndex + 1, added);
    insertLines(lineIndex + 1, std::move(parts));
    return {lineIndex + added, endColumn};
}

void CodeEditBuffer::insertLines(int lineIndex, std::vector<QString> &&texts)
{
    if (texts.empty())
        return;
    int blockIndex;
    int at;
    if (lineIndex >= m_lineCount && (m_blocks.empty() || m_blocks.back()->source)) {
        m_blocks.push_back(std::make_unique<Block>());
        m_blocks.back()->longest = 0;
        rebuildIndex();
        blockIndex = int(m_blocks.size()) - 1;
        at = 0;
    } else if (lineIndex >= m_lineCount) {
        blockIndex = int(m_blocks.size()) - 1;
        at = m_blocks.back()->count();
    } else {
        const Located located = locate(lineIndex);
        blockIndex = located.block;
        at = located.line;
    }
    Block &block = editableBlock(blockIndex);
    std::vector<CodeEditLine> lines(texts.size());
    for (size_t i = 0; i < texts.size(); ++i) {
        const int length = int(texts[i].size());
        if (m_longestLine >= 0 && length > m_longestLine)
            m_longestLine = length;
        if (block.longest >= 0 && length > block.longest)
            block.longest = length;
        lines[i].text = std::move(texts[i]);
    }
    block.lines.insert(block.lines.begin() + at, std::make_move_iterator(lines.begin()),
                       std::make_move_iterator(lines.end()));
    adjustCount(blockIndex, int(lines.size()));
    splitLarge(blockIndex);
}

void CodeEditBuffer::splitLarge(int blockIndex)
{
    Block &block = *m_blocks[blockIndex];
    if (block.count() <= maxBlockLines)
        return;
    std::vector<std::unique_ptr<Block>> pieces;
    const int total = int(block.lines.size());
    for (int first = blockLines; first < total; first += blockLines) {
        auto piece = std::make_unique<Block>();
        const int end = std::min(total, first + blockLines);
        piece->lines.assign(std::make_move_iterator(block.lines.begin() + first),
                            std::make_move_iterator(block.lines.begin() + end));
        pieces.push_back(std::move(piece));
    }
    block.lines.resize(blockLines);
    block.longest = -1;
    m_blocks.insert(m_blocks.begin() + blockIndex + 1, std::make_move_iterator(pieces.begin()),
                    std::make_move_iterator(pieces.end()));
    rebuildIndex();
}

void CodeEditBuffer::removeLines(int first, int count)
{
    bool blocksRemoved = false;
    while (count > 0 && first < m_lineCount) {
        const Located at = locate(first);
        Block &block = *m_blocks[at.block];
        const int taken = std::min(count, block.count() - at.line);
        if (at.line == 0 && taken == block.count()) {
            if (m_longestLine >= 0) {
                if (block.longest < 0)
                    block.longest = block.computeLongest();
                noteRemovedLength(block.longest);
            }
            m_lineCount -= taken;
            m_blocks.erase(m_blocks.begin() + at.block);
            rebuildIndex();
            blocksRemoved = true;
        } else {
            materialise(block);
            for (int i = at.line; i < at.line + taken; ++i) {
                const int length = int(block.lines[i].text.size());
                noteRemovedLength(length);
                if (length == block.longest)
                    block.longest = -1;
            }
            block.lines.erase(block.lines.begin() + at.line, block.lines.begin() + at.line + taken);
            adjustCount(at.block, -taken);
        }
        count -= taken;
    }
    if (blocksRemoved)
        m_iterator = {int(m_blocks.size()), 0};
}

void CodeEditBuffer::remove(CodeEditBufferPosition start, CodeEditBufferPosition end)
{
    changed();
    if (m_lineCount == 0)
        return;
    start = clamped(start);
    end = clamped(end);
    if (end < start)
        std::swap(start, end);
    if (start == end)
        return;
    const Located at = locate(start.line);
    Block &block = editableBlock(at.block);
    CodeEditLine &line = block.lines[at.line];
    if (start.line == end.line) {
        const int oldLength = int(line.text.size());
        line.text.remove(start.column, end.column - start.column);
        lineChanged(block, line, oldLength);
        noteDirty(start.line, start.line, m_lineCount, 0);
        return;
    }
    noteDirty(start.line, start.line, start.line + 1, start.line - end.line);
    const QString tail = text(end.line).mid(end.column);
    setLineText(block, line, line.text.left(start.column) + tail);
    removeLines(start.line + 1, end.line - start.line);
}

CodeEditBufferPosition CodeEditBuffer::clamped(CodeEditBufferPosition position) const
{
    if (position.line < 0 || m_lineCount == 0)
        return {0, 0};
    if (position.line >= m_lineCount)
        return {m_lineCount - 1, lineLength(m_lineCount - 1)};
    return {position.line, std::clamp(position.column, 0, lineLength(position.line))};
}

void CodeEditBuffer::clear()
{
    m_blocks.clear();
    m_tree.assign(1, 0);
    m_lastBlock = {};
    m_lineCount = 0;
    m_longestLine = 0;
    m_dirtyFirst = 0;
    m_dirtyLast = std::numeric_limits<int>::max();
    changed();
}

void CodeEditBuffer::noteDirty(int first, int last, int shiftFrom, int delta)
{
    if (m_dirtyLast != std::numeric_limits<int>::max() && m_dirtyLast >= shiftFrom)
        m_dirtyLast = std::max(m_dirtyLast + delta, first);
    m_dirtyFirst = std::min(m_dirtyFirst, first);
    m_dirtyLast = std::max(m_dirtyLast, last);
}

CodeEditLine *CodeEditBuffer::iterateFrom(int index)
{
    if (index <= 0)
        return firstLine();
    const Located at = locate(index);
    m_iterator = {at.block, at.line - 1};
    return nextLine();
}

void CodeEditBuffer::setText(const QString &text)
{
    clear();
    std::vector<QString> lines;
    for (const QStringView part : QStringView(text).tokenize(u'\n'))
        lines.emplace_back(part.toString());
    insertLines(0, std::move(lines));
}

void CodeEditBuffer::setLoadedText(std::shared_ptr<const CodeEditLoadedText> source,
                                   const std::vector<CodeEditLoadedRun> &runs, int longestLine)
{
    clear();
    m_blocks.reserve(runs.size());
    for (const CodeEditLoadedRun &run : runs) {
        if (run.lineCount <= 0)
            continue;
        auto block = std::make_unique<Block>();
        block->source = source;
        block->run = run;
        m_lineCount += run.lineCount;
        m_blocks.push_back(std::move(block));
    }
    rebuildIndex();
    m_iterator = {int(m_blocks.size()), 0};
    m_longestLine = longestLine;
}

int CodeEditBuffer::longestLength()
{
    if (m_longestLine >= 0)
        return m_longestLine;
    int longest = 0;
    for (const std::unique_ptr<Block> &block : m_blocks) {
        if (block->longest < 0)
            block->longest = block->computeLongest();
        longest = std::max(longest, block->longest);
    }
    m_longestLine = longest;
    return longest;
}

void CodeEditBuffer::setParser(CodeEditParser *parser)
{
    if (parser != m_parser) {
        // States kept by another parser mean nothing to this one.
        m_rescanAll = true;
        m_dirtyFirst = 0;
        m_dirtyLast = std::numeric_limits<int>::max();
    }
    m_parser = parser;
    m_needsRescan = true;
}

bool CodeEditBuffer::writeLines(CodeEditLineWriter &writer) const
{
    int index = 0;
    for (const std::unique_ptr<Block> &block : m_blocks) {
        if (!block->source) {
            for (const CodeEditLine &line : block->lines) {
                if (!writer.line(index++, line.text))
                    return false;
            }
            continue;
        }
        const CodeEditLineWriter::RawResult raw = writer.rawLines(*block->source, block->run);
        if (raw == CodeEditLineWriter::RawResult::Failed)
            return false;
        if (raw == CodeEditLineWriter::RawResult::Written) {
            index += block->run.lineCount;
            continue;
        }
        ScanCache scan;
        for (int i = 0; i < block->run.lineCount; ++i) {
            const auto r = block->range(i, scan);
            const bool written = block->source->form == CodeEditLoadedText::Form::Utf16
                                     ? writer.line(index, QStringView(block->source->text).mid(r.first, r.second - r.first))
                                     : writer.line(index, block->loadedText(r));
            if (!written)
                return false;
            ++index;
        }
    }
    return true;
}

QString CodeEditBuffer::toText() const
{
    class Joiner : public CodeEditLineWriter {
    public:
        RawResult rawLines(const CodeEditLoadedText &, const CodeEditLoadedRun &) override
        {
            return RawResult::Declined;
        }
        bool line(int index, QStringView text) override
        {
            if (index > 0)
                result += u'\n';
            result += text;
            return true;
        }
        QString result;
    } joiner;
    writeLines(joiner);
    return joiner.result;
}
