// kv_eng: the engine of the design-file manager. What a client includes.
//
// A client opens a directory as a workspace, walks its categories and items,
// asks for dependencies, and runs operations (copy, move, archive, restore,
// checkpoints) that report through a callBack. Link with -lkv_eng.
//
// Threads: none. The engine runs on the caller's thread and changes the
// process's current directory during operations and scans; run one engine
// call at a time in a process, and do not call back into a workspace from a
// callback.
#pragma once

#include "kv_export.h"
#include "platform/platform.h"
#include "workspace/workspace.h"
#include "workspace/context.h"
