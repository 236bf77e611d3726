#include "script/host/HostServices.h"
#include "script/host/BuildESClass.h"
#include "script/host/DebugScriptObjectClass.h"
#include "script/host/HostClasses.h"
#include "script/host/ScriptSystem.h"
#include "script/host/VarnelScriptSystem.h"
#include <memory>

void installHostClasses(MyESContext &context, const HostServices &services)
{
    const auto install = [&](auto hostClass) { context.adopt(std::move(hostClass))->installGlobal(context); };
    install(std::make_unique<TMSysESClass>(services));
    install(std::make_unique<WScriptESClass>(services));
    install(std::make_unique<BuiltinScript>(services));
    install(std::make_unique<BinaryFileESClass>());
    install(std::make_unique<BuildESClass>(services.build));
    install(std::make_unique<DebugScriptObjectClass>(services));
    install(std::make_unique<ThreadsWindowScriptObjectClass>(services, services.threadsLimit));
    install(std::make_unique<VarnelESClass>(services));
    install(std::make_unique<ESQObject>(services.system));
}
