// Test helper: runs of kelvault as the rows of a table, each with the exit
// status it must give and the texts its output must and must not hold.
#pragma once

#include <string>
#include <vector>

struct kelvaultRun {
    std::string arguments;                // as for runKelvault: quote paths
    int status;                           // the exit status it must give
    std::vector<std::string> holds;       // texts the output must hold
    std::vector<std::string> lacks = {};  // texts it must not hold
};

// Runs each row with environment in front of it and checks its status and
// output (standard error too when withErrors); a failure names the row's
// arguments and shows the output. Returns the output of the last run.
std::string expectKelvaultRuns(const std::vector<kelvaultRun>& runs, const std::string& environment = "",
                               bool withErrors = false);
