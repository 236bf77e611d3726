#pragma once
#include "debug/PrintFormat.h"
#include <QString>
#include <QStringList>
#include <memory>
#include <utility>
#include <vector>

class DebugExpressionParser;
class DwarfDebugger;

// The debugger a script drives: an ELF image with its debug information and RAM dumps laid
// over it, opened on first use (so a script may build the file first), with the print settings
// and the located position. There is no running target behind it.
class ScriptDebugSession {
public:
    // A dump: the file and the address its first byte lies at.
    using Dump = std::pair<QString, quint64>;
    ScriptDebugSession(QString elfPath, std::vector<Dump> dumps);
    ~ScriptDebugSession();

    // Opens the image on first use; throws HException when it cannot.
    DwarfDebugger &engine();
    DebugExpressionParser &parser();

    Radix radix = Radix::Decimal;
    PrintLimits limits;
    bool charPointersAsStrings = false;
    // The located position (locatepc).
    QString locatedFile;
    int locatedLine = 0;

private:
    QString m_elfPath;
    std::vector<Dump> m_dumps;
    std::unique_ptr<DwarfDebugger> m_engine;
    std::unique_ptr<DebugExpressionParser> m_parser;
};
