// The engine context: what is global to the engine rather than to a
// workspace.
//
// Contents:
//   1. Library start-up and shutdown: the module handle, the attach count
//      and the entry point that the library's load and unload run.
//   4. Questions about libraries: isSystemLibraryPath.
// (The INI context, the externals subdirectory and the helpers shared by
// the other subsystems join this header with the rest of the context.)
#pragma once

#include "kv_export.h"
#include "platform/platform.h"

// ---------------------------------------------------------------------------
// 1. Start-up and shutdown
// ---------------------------------------------------------------------------

// Reasons for which the entry point runs (the Win32 values).
#define DLL_PROCESS_DETACH 0
#define DLL_PROCESS_ATTACH 1
#define DLL_THREAD_ATTACH 2
#define DLL_THREAD_DETACH 3

// The engine's own module; every LoadStringA and LoadImageA of the engine
// uses it. Null until the library has started.
extern HMODULE moduleHandle;
// Process attachments minus detachments.
extern int attachCount;

// The library's entry point. Process attach stores module as moduleHandle
// and counts up; process detach counts down and, at the last detach,
// releases the engine's global state. Thread attach and detach do nothing.
// Always returns TRUE. src/resources/module.cpp calls it when the library
// is loaded and unloaded.
BOOL engineEntryPoint(HMODULE module, DWORD reason);

// ---------------------------------------------------------------------------
// 4. Questions about libraries
// ---------------------------------------------------------------------------

// Whether directory, which must end in a backslash, is exactly one of the
// directories of the library path (without regard to case). A subdirectory
// of one does not count. False without a library configuration.
KVENG_API bool isSystemLibraryPath(const char* directory);
