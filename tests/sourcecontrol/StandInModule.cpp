#include "tests/sourcecontrol/StandInModule.h"

extern "C" __attribute__((visibility("default"))) SourceCodeControlSystemInterface *
CreateSourceCodeControlSystemInterface(SourceCodeControlSystemProviderInterfaceHelpers *)
{
    return StandIn::create();
}

extern "C" __attribute__((visibility("default"))) void
ReleaseSourceCodeControlSystemInterface(SourceCodeControlSystemInterface *interface)
{
    StandIn::release(interface);
}

// Runs when the library is closed.
__attribute__((destructor)) static void unloaded()
{
    StandIn::trace("unload");
}
