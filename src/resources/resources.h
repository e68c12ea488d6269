// The engine's resources: its string table and its icons, found by number.
//
// Every text the engine shows or writes by id (messages of the vocabulary
// classes, the callback messages, the names that fix a checkpoint's layout on
// disk) lives in one string table; the icons are 40 images drawn in code,
// each at 16, 32 and 48 pixels. Both are reached as module resources through
// the engine's module handle, the `moduleHandle` that start-up stores (see
// workspace/context.h); any other module handle finds nothing.
//
// Contents:
//   1. The module handle of the engine.
//   2. Strings: LoadStringA, and the table for tests and tools.
//   3. Icons: LoadImageA, DestroyIcon, and the pixels of an icon.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kv_export.h"
#include "platform/platform.h"

// ---------------------------------------------------------------------------
// 1. Module
// ---------------------------------------------------------------------------

// The handle that names the engine as a module: the address of an object
// inside the engine, the same for the whole life of the process. Start-up
// hands it to the entry point, which stores it in moduleHandle.
HMODULE kvEngineModule();

// ---------------------------------------------------------------------------
// 2. Strings
// ---------------------------------------------------------------------------

// The text of string resource id of module instance into buffer. Copies at
// most size - 1 characters and a terminating NUL and returns the number of
// characters copied. An unknown id or another module gives 0 and an empty
// string in buffer. With size 0 or less, or a null buffer, nothing is
// written and the result is 0; with size 1 only the NUL is written.
int LoadStringA(HINSTANCE instance, UINT id, char* buffer, int size);

struct kvStringResource {
    UINT id;
    const char* text;
};
// The whole string table, ordered by id (for tests and tools).
const kvStringResource* kvStringTable(size_t* count);

// ---------------------------------------------------------------------------
// 3. Icons
// ---------------------------------------------------------------------------

#define IMAGE_ICON 1
// A resource number in place of a resource name.
#define MAKEINTRESOURCEA(id) (reinterpret_cast<LPCSTR>(static_cast<uintptr_t>(static_cast<WORD>(id))))
#define IS_INTRESOURCE(name) ((reinterpret_cast<uintptr_t>(name) >> 16) == 0)

// A new image of icon resource `name` (a number made by MAKEINTRESOURCEA)
// of module instance, cx by cy pixels. Type must be IMAGE_ICON and the size
// 16, 32 or 48 in both directions; flags are ignored. Null for anything
// else, an unknown id or another module. The caller owns the image and frees
// it with DestroyIcon.
HANDLE LoadImageA(HINSTANCE instance, LPCSTR name, UINT type, int cx, int cy, UINT flags);

// Frees an image of LoadImageA. FALSE for null, or a handle that is not a
// live image (such as one already freed).
KVENG_API BOOL DestroyIcon(HANDLE icon);

// The pixels of a live image of LoadImageA: width, height, and width *
// height pixels of 4 bytes each (red, green, blue, alpha; 0 alpha is
// transparent), row by row from the top. The pixels stay valid until the
// image is freed. False, with the outputs untouched, for any other handle.
KVENG_API bool kvGetIconPixels(HANDLE icon, int* width, int* height, const uint8_t** rgba);

// The icon resources by index, ids ascending (for tests and tools): their
// number, and the id at index (0 past the end).
size_t kvIconCount();
int kvIconId(size_t index);
