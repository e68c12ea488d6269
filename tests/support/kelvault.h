// Test helper: runs the kelvault of the build as a user or a script would,
// and gives back what it printed and its exit status.
#pragma once

#include <string>

// Runs kelvault with arguments (a shell command line: quote paths), with
// environment (shell assignments, or empty) in front of it. out: its
// standard output, and its standard error too when withErrors. Returns the
// exit status; -1 if it could not be run or did not exit normally.
int runKelvault(const std::string& arguments, std::string& out, const std::string& environment = "",
                bool withErrors = false);
