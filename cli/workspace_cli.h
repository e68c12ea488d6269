// What the workspace commands of kelvault share: opening a directory given
// on the command line, and the texts a person reads for the engine's values.
#pragma once

#include <memory>
#include <string>

#include "workspace/workspace.h"

// Opens hostDirectory (relative to the current directory; "." if empty)
// as a workspace. On failure prints "kelvault: cannot open ..." with the
// status's message on stderr and returns null.
std::unique_ptr<workspace> openWorkspaceForCommand(const std::string& hostDirectory);

// The message text of a vocabulary value ("Tarnel Sketchvane Schematic").
std::string messageText(const kelvaultDLLenum& value);

// A host path for an engine path, for showing to a person; the engine path
// itself if it has no host form.
std::string hostPathOf(const char* enginePath);

// The last write time of item in local time, "YYYY-MM-DD HH:MM".
std::string localTimeText(const FILETIME& time);

// A category named by value, file string or message text, without regard
// to case; -1 if none is.
int parseCategoryName(const std::string& text);
