#include "tests/sourcecontrol/StandInModule.h"

// A provider library that forgot its creation function.
extern "C" __attribute__((visibility("default"))) void
ReleaseSourceCodeControlSystemInterface(SourceCodeControlSystemInterface *interface)
{
    StandIn::release(interface);
}
