// The engine context: global state and the library's entry point.
//
// Contents:
//   1. Start-up and shutdown.
//   4. Questions about libraries.
#include "workspace/context.h"

// ---------------------------------------------------------------------------
// 1. Start-up and shutdown
// ---------------------------------------------------------------------------

HMODULE moduleHandle = nullptr;
int attachCount = 0;

// The global state released at the last process detach.
static void releaseGlobalState() {
    // TODO(context): when the library configuration and the externals
    // subdirectory name join the context, release them here:
    //   - if there is a library configuration, shut it down as
    //     RemoveIniFileContext does;
    //   - free the externals subdirectory name unless it is the constant
    //     "sys_libs", and point it at the constant again.
}

BOOL engineEntryPoint(HMODULE module, DWORD reason) {
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        moduleHandle = module;
        ++attachCount;
        break;
    case DLL_PROCESS_DETACH:
        if (attachCount-- == 1) releaseGlobalState();
        break;
    default: // thread attach and detach
        break;
    }
    return TRUE;
}

// ---------------------------------------------------------------------------
// 4. Questions about libraries
// ---------------------------------------------------------------------------

// Without a library configuration no directory is a system library
// directory. The configuration, when it joins the context, answers here.
bool isSystemLibraryPath(const char*) { return false; }
