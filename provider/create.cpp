#include "provider/CVELTARO_ToolServiceLogger.h"

// Makes the provider object. The host owns it and destroys it through its virtual destructor.
// Throws what the allocation or the base class throws.
extern "C" __attribute__((visibility("default"))) void* create();

void* create() {
    return new CVELTARO_ToolServiceLogger;
}
