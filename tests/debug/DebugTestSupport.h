#pragma once
#include "debug/SymbolicDebuggerInterface.h"
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <map>
#include <vector>

namespace DebugTestSupport {

inline bool hasProgram(const QString &name)
{
    return !QStandardPaths::findExecutable(name).isEmpty();
}

// Compiles `source` (a path, or a name under tests/debug/data/) into `output` with `compiler`
// and `flags`; empty result and the compiler's message in `error` on failure.
inline QString compile(const QString &compiler, const QString &source, const QStringList &flags,
                       const QString &output, QString *error = nullptr)
{
    QProcess process;
    const QString path = source.contains(u'/') ? source : QStringLiteral(TESS_TEST_DATA "/data/") + source;
    process.start(compiler, flags + QStringList{path, QStringLiteral("-o"), output});
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit
        || process.exitCode() != 0) {
        if (error)
            *error = QString::fromLocal8Bit(process.readAllStandardError()) + process.errorString();
        return {};
    }
    return output;
}

// The program `name` built by compile() once per test program and kept to its end; empty when
// the compiler is not installed or failed (its message in `error`).
inline QString builtOnce(const QString &name, const QString &compiler, const QString &source,
                         const QStringList &flags, QString *error = nullptr)
{
    static QTemporaryDir directory;
    static std::map<QString, QString> built;
    const auto known = built.find(name);
    if (known != built.end())
        return known->second;
    QString path;
    if (hasProgram(compiler))
        path = compile(compiler, source, flags, directory.filePath(name), error);
    built[name] = path;
    return path;
}

// A target of plain bytes for memory blocks and views: a map of mapped ranges, with a record
// of every transfer (address, unit width, count).
class FakeTarget : public SymbolicDebuggerInterface {
public:
    struct Transfer {
        quint64 address;
        int width;
        qint64 count;
        bool write;
    };

    void map(quint64 address, QByteArray bytes) { m_ranges[address] = std::move(bytes); }
    const std::vector<Transfer> &transfers() const { return m_transfers; }
    QByteArray bytesAt(quint64 address) const { return m_ranges.at(address); }
    void setBigEndian(bool bigEndian) { m_bigEndian = bigEndian; }

    std::optional<DebugSymbol> findSymbol(const QStringList &, const QString &) override { return std::nullopt; }
    const BaseType *findType(const QString &) override { return nullptr; }
    bool isTypeName(const QString &) override { return false; }
    void readMemory(quint64 address, int width, qint64 count, char *destination) override;
    void writeMemory(quint64 address, int width, qint64 count, const char *source) override;
    ExpressionValue readRegister(const QString &) override { throw ParserException(QStringLiteral("unknown register")); }
    void writeRegister(const QString &, const ExpressionValue &) override {}
    std::vector<std::unique_ptr<SegmentInformation>> segments() override { return {}; }
    std::vector<std::unique_ptr<SectionInformation>> sections() override { return {}; }
    std::vector<std::unique_ptr<SymbolInformation>> symbols() override { return {}; }
    std::vector<std::unique_ptr<SymbolInformation>> locals() override { return {}; }
    std::vector<std::unique_ptr<SymbolInformation>> globals() override { return {}; }
    quint64 addressOfLine(const QString &, int) override { return 0; }
    ExpressionValue callFunction(quint64, const QList<ExpressionValue> &) override { return {}; }
    bool bigEndian() const override { return m_bigEndian; }
    int addressWidth() const override { return 4; }

private:
    QByteArray *rangeOf(quint64 address, qint64 length, quint64 &offset);

    std::map<quint64, QByteArray> m_ranges;
    std::vector<Transfer> m_transfers;
    bool m_bigEndian = false;
};

} // namespace DebugTestSupport
