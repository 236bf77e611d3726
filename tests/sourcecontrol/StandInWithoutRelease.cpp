#include "tests/sourcecontrol/StandInModule.h"

// A provider library that forgot its release function.
extern "C" __attribute__((visibility("default"))) SourceCodeControlSystemInterface *
CreateSourceCodeControlSystemInterface(SourceCodeControlSystemProviderInterfaceHelpers *)
{
    return StandIn::create();
}
