// The file side of CodeEdit: loading with encoding and line-ending detection, saving through a
// temporary file, and the recovery file of unsaved text.
#include "editor/CodeEdit.h"
#include "editor/CodeEditQuestions.h"
#include "editor/RecoveryFile.h"
#include "editor/SafeFileWriter.h"
#include "editor/TextCodec.h"
#include "editor/TextFileReader.h"
#include <QFile>
#include <QFileInfo>

namespace {

// Line lengths and positions are 32-bit, so no file larger than this can be a document.
constexpr qint64 largestDocument = INT_MAX;

QString readTitle()
{
    return QStringLiteral("Can't read file");
}

QString writeTitle()
{
    return QStringLiteral("Can't write file");
}

QString terminatorText(int ending)
{
    switch (ending) {
    case LineEndingCrLf:
        return QStringLiteral("\r\n");
    case LineEndingCr:
        return QStringLiteral("\r");
    default:
        return QStringLiteral("\n");
    }
}

// Reads at most `limit` bytes; false when there were more (a device or a file that grew).
bool readLimited(QFile &file, qint64 limit, QByteArray &bytes, QString &error)
{
    const qint64 expected = file.size();
    if (expected > 0)
        bytes.reserve(qsizetype(std::min(expected, limit + 1)));
    constexpr qint64 chunk = qint64(1) << 24;
    for (;;) {
        const qint64 room = std::min(chunk, limit + 1 - qint64(bytes.size()));
        const qsizetype before = bytes.size();
        bytes.resize(before + qsizetype(room));
        const qint64 got = file.read(bytes.data() + before, room);
        if (got < 0) {
            error = file.errorString();
            return false;
        }
        bytes.resize(before + qsizetype(got));
        if (got == 0)
            return true;
        if (bytes.size() > limit)
            return false;
    }
}

// Writes lines in the document's encoding with one terminator between lines and none after
// the last. Loaded lines nobody edited go out as the bytes they were read from, when the
// encoding and terminators are theirs.
class EncodingLineWriter final : public CodeEditLineWriter {
public:
    EncodingLineWriter(SafeFileWriter &file, const TextCodec &codec, int ending)
        : m_file(file), m_codec(codec), m_ending(ending)
    {
        m_codec.encode(terminatorText(ending), m_terminator);
    }

    RawResult rawLines(const CodeEditLoadedText &source, const CodeEditLoadedRun &run) override
    {
        const TextCodec::Kind kind = m_codec.kind();
        const bool sameBytes = (source.form == CodeEditLoadedText::Form::Latin1 && kind == TextCodec::Kind::Latin1)
                               || (source.form == CodeEditLoadedText::Form::Utf8
                                   && (kind == TextCodec::Kind::Utf8 || (run.ascii && kind == TextCodec::Kind::Latin1)));
        if (!sameBytes || (run.terminator != m_ending && run.terminator != LineEndingUnknown))
            return RawResult::Declined;
        // Runs that follow each other in the source with our terminator between them go out
        // as one piece.
        const QByteArray &bytes = source.bytes;
        const qsizetype gap = m_terminator.size();
        if (m_pending == &source && run.begin == m_pendingEnd + gap
            && QByteArrayView(bytes).sliced(m_pendingEnd, gap) == QByteArrayView(m_terminator)) {
            m_pendingEnd = run.end;
            return RawResult::Written;
        }
        if (!flushPending())
            return RawResult::Failed;
        m_pending = &source;
        m_pendingBegin = run.begin;
        m_pendingEnd = run.end;
        return RawResult::Written;
    }

    bool line(int index, QStringView text) override
    {
        if (!flushPending())
            return false;
        m_scratch.resize(0);
        if (!m_codec.encode(text, m_scratch)) {
            m_unencodableLine = index;
            return false;
        }
        return separate() && m_file.write(m_scratch);
    }

    int unencodableLine() const { return m_unencodableLine; }

    bool flushPending()
    {
        if (!m_pending)
            return true;
        const char *data = m_pending->bytes.constData();
        m_pending = nullptr;
        return separate() && m_file.write(data + m_pendingBegin, m_pendingEnd - m_pendingBegin);
    }

private:
    bool separate()
    {
        if (m_first) {
            m_first = false;
            return true;
        }
        return m_file.write(m_terminator);
    }

    SafeFileWriter &m_file;
    const TextCodec &m_codec;
    int m_ending;
    QByteArray m_terminator;
    QByteArray m_scratch;
    bool m_first = true;
    int m_unencodableLine = -1;
    const CodeEditLoadedText *m_pending = nullptr;   // a span of raw runs not yet written
    qsizetype m_pendingBegin = 0;
    qsizetype m_pendingEnd = 0;
};

} // namespace

QString CodeEdit::recoveryPath() const
{
    return CodeEditRecoveryFile::pathFor(m_path.text());
}

void CodeEdit::updateReadOnlyFromFile()
{
    const QFileInfo info(m_path.text());
    if (info.exists())
        setReadOnly(info.isWritable() ? 0 : 1, false);
}

void CodeEdit::takeFileFacts(const Path &path)
{
    m_path = path;
    const QFileInfo info(path.text());
    m_fileTime = info.lastModified();
    m_fileSize = info.size();
}

bool CodeEdit::load(const Path &path)
{
    QFile file(path.text());
    // Only regular files: a pipe would block the open, a device never end.
    const QFileInfo info(path.text());
    if (!info.isFile() || !file.open(QIODevice::ReadOnly)) {
        tell(readTitle(), QStringLiteral("Can't open %1 for reading").arg(path.text()));
        return false;
    }
    const qint64 limit = std::min(m_settings.maximumFileSize, largestDocument);
    const auto tooLarge = [&](qint64 size) {
        tell(readTitle(), QStringLiteral("File %1 is too large to edit (%2 bytes, the limit is %3)")
                            .arg(path.text()).arg(size).arg(limit));
        return false;
    };
    if (file.size() > limit)
        return tooLarge(file.size());
    QByteArray bytes;
    QString error;
    if (!readLimited(file, limit, bytes, error)) {
        if (!error.isEmpty()) {
            tell(readTitle(), QStringLiteral("Can't read %1 (%2)").arg(path.text(), error));
            return false;
        }
        return tooLarge(bytes.size());
    }
    file.close();
    dropRecovery();
    takeFileFacts(path);
    updateReadOnlyFromFile();
    if (!loadBytes(bytes))
        return false;
    m_fileSize = bytes.size();
    offerRecovery();
    return true;
}

bool CodeEdit::newDocument(const Path &path)
{
    dropRecovery();
    m_path = path;
    m_fileSize = 0;
    m_readOnlyMode = 0;
    return loadBytes(QByteArray());
}

bool CodeEdit::loadBytes(const QByteArray &bytes)
{
    TextFileOptions options;
    options.codecName = m_codecName;
    options.detectUtf8 = m_settings.detectUtf8;
    options.defaultCodec = m_settings.defaultCodec;
    TextFileContent content = readTextFile(bytes, options);
    if (!content.ok)
        return false;
    resetDocument();
    m_buffer.setLoadedText(content.text, content.runs, content.longestLine);
    m_bomKind = content.bomKind;
    m_bom = content.bom;
    m_codecName = content.codecName;
    m_lineEnding = content.lineEnding;
    if (content.unclean) {
        tell(QStringLiteral("Invalid characters"),
             QStringLiteral("File %1 is not valid %2; the bytes that could not be read were replaced")
                 .arg(m_path.text(), m_codecName));
    }
    if (content.inconsistent) {
        tell(QStringLiteral("Inconsistent line endings"),
             QStringLiteral("This file %1 has inconsistent line endings; all line endings have been "
                            "changed to native line endings").arg(m_path.text()));
        m_forceModified = true;
        m_lineEnding = m_settings.defaultLineEnding;
    } else if (m_lineEnding == LineEndingUnknown) {
        m_lineEnding = m_settings.defaultLineEnding;
    }
    return true;
}

bool CodeEdit::writeFile(const Path &path, bool asCopy)
{
    const TextCodec codec = TextCodec::find(m_codecName).value_or(TextCodec::locale());
    const int ending = m_lineEnding == LineEndingUnknown ? m_settings.defaultLineEnding : m_lineEnding;
    if (!asCopy)
        m_lineEnding = ending;
    SafeFileWriter file(path.text());
    if (!file.open()) {
        tell(writeTitle(), QStringLiteral("Can't open %1 for writing").arg(path.text()));
        return false;
    }
    const QByteArray bom = m_bomKind == BomNone ? QByteArray() : m_bom.isEmpty() ? bomBytes(m_bomKind) : m_bom;
    EncodingLineWriter lines(file, codec, ending);
    if (!file.write(bom) || !m_buffer.writeLines(lines) || !lines.flushPending() || !file.commit()) {
        if (lines.unencodableLine() >= 0)
            tell(writeTitle(), QStringLiteral("Can't encode line %1 in %2").arg(lines.unencodableLine() + 1).arg(codec.name()));
        else
            tell(writeTitle(), file.errorString());
        return false;
    }
    if (!asCopy)
        m_fileSize = file.size();
    return true;
}

bool CodeEdit::save()
{
    if (m_path.isEmpty())
        return false;
    return saveAs(m_path);
}

bool CodeEdit::saveAs(const Path &path)
{
    if (m_settings.deleteTrailingSpaceOnSave)
        deleteTrailingWhitespace();
    if (m_settings.cleanupTabsOnSave == 1)
        untabify();
    else if (m_settings.cleanupTabsOnSave == 2)
        tabify();
    if (!writeFile(path, false))
        return false;
    const qint64 size = m_fileSize;
    takeFileFacts(path);
    m_fileSize = size;
    setUnmodified();
    setReadOnly(0, true);
    dropRecovery();
    return true;
}

bool CodeEdit::saveCopyAs(const Path &path)
{
    return writeFile(path, true);
}

bool CodeEdit::writeRecovery()
{
    if (m_path.isEmpty())
        return false;
    if (!m_recovery) {
        auto recovery = std::make_unique<CodeEditRecoveryFile>(recoveryPath());
        if (!recovery->open(true)) {
            tell(writeTitle(), recovery->errorString());
            return false;
        }
        m_recovery = std::move(recovery);
    }
    const TextCodec codec = TextCodec::find(m_codecName).value_or(TextCodec::locale());
    QByteArray bytes;
    const QString terminator = QStringLiteral("\n");
    for (int line = 0; line < m_buffer.lineCount(); ++line) {
        if ((line > 0 && !codec.encode(terminator, bytes)) || !codec.encode(m_buffer.text(line), bytes)) {
            tell(writeTitle(), QStringLiteral("Can't encode line %1 in %2").arg(line + 1).arg(codec.name()));
            return false;
        }
    }
    if (!m_recovery->write(bytes)) {
        tell(writeTitle(), m_recovery->errorString());
        return false;
    }
    m_recoveryTop = topSerial();
    return true;
}

void CodeEdit::offerRecovery()
{
    auto recovery = std::make_unique<CodeEditRecoveryFile>(recoveryPath());
    // A document that cannot take the text leaves the file for a session that can.
    if (!isEditable() || !recovery->open(false))
        return;
    const QString question = QStringLiteral("An unsaved version of ") + m_path.text()
                             + QStringLiteral(" from another session has been found.\n\nDo you want to "
                                              "recover this file or discard the changes?");
    const int answer = m_questions->ask(QStringLiteral("Recover File"), question,
                                        {QStringLiteral("Recover"), QStringLiteral("Discard")});
    if (answer == 1) {
        recovery->remove();
        return;
    }
    if (answer != 0)
        return;
    const std::optional<QByteArray> bytes = recovery->read(std::min(m_settings.maximumFileSize, largestDocument));
    if (!bytes) {
        tell(readTitle(), QStringLiteral("Can't read %1").arg(recovery->path()));
        return;
    }
    const TextCodec codec = TextCodec::find(m_codecName).value_or(TextCodec::locale());
    QString text;
    codec.decode(bytes->constData(), bytes->size(), text);
    replaceAllText(text, KindMacro);
    m_recoveryTop = topSerial();
    m_recovery = std::move(recovery);
}

void CodeEdit::dropRecovery()
{
    if (m_recovery)
        m_recovery->remove();
    m_recovery.reset();
}
