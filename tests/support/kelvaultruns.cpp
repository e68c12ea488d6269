// Test helper: see kelvaultruns.h.
#include "support/kelvaultruns.h"

#include <gtest/gtest.h>

#include "support/kelvault.h"

std::string expectKelvaultRuns(const std::vector<kelvaultRun>& runs, const std::string& environment,
                               bool withErrors) {
    std::string out;
    for (const kelvaultRun& run : runs) {
        SCOPED_TRACE("kelvault " + run.arguments);
        EXPECT_EQ(runKelvault(run.arguments, out, environment, withErrors), run.status) << out;
        for (const std::string& text : run.holds) EXPECT_NE(out.find(text), std::string::npos) << text << "\n" << out;
        for (const std::string& text : run.lacks) EXPECT_EQ(out.find(text), std::string::npos) << text << "\n" << out;
    }
    return out;
}
