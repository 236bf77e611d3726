#include "script/host/ScriptDebugSession.h"
#include "debug/DebugExpressionParser.h"
#include "debug/DwarfDebugger.h"
#include "foundation/HException.h"

ScriptDebugSession::ScriptDebugSession(QString elfPath, std::vector<Dump> dumps)
    : m_elfPath(std::move(elfPath)), m_dumps(std::move(dumps))
{
}

ScriptDebugSession::~ScriptDebugSession() = default;

DwarfDebugger &ScriptDebugSession::engine()
{
    if (!m_engine) {
        auto engine = std::make_unique<DwarfDebugger>(m_elfPath);
        for (const Dump &dump : m_dumps)
            engine->addDump(dump.first, dump.second);
        m_parser = std::make_unique<DebugExpressionParser>(*engine);
        m_engine = std::move(engine);
    }
    return *m_engine;
}

DebugExpressionParser &ScriptDebugSession::parser()
{
    engine();
    return *m_parser;
}
