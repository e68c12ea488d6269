// The engine as a module: its handle, and the hooks that run the entry point
// when the library is loaded and unloaded.
//
// The module handle is the address of an object inside the engine: unique to
// it and fixed for the life of the process, which is all that the resource
// functions need to tell the engine's own resources from anyone else's.
//
// The start-up hook runs before the C++ static constructors of the engine
// (priority 101, the first one free for programs), and the shutdown hook
// after their destructors, so that the resources work for every static
// object of the engine.
#include "resources/resources.h"
#include "workspace/context.h"

static const char engineModuleObject = 0;

HMODULE kvEngineModule() {
    return const_cast<char*>(&engineModuleObject);
}

__attribute__((constructor(101))) static void engineLoaded() {
    engineEntryPoint(kvEngineModule(), DLL_PROCESS_ATTACH);
}

__attribute__((destructor(101))) static void engineUnloaded() {
    engineEntryPoint(kvEngineModule(), DLL_PROCESS_DETACH);
}
