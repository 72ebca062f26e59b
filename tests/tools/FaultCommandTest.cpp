#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "KvdataRun.h"

namespace {

using kvtest::Outcome;
using FaultCommand = kvtest::KvdataRun;

// A sweep carries over from row to row what did not change (texts of equal values, the
// components and line values of an unchanged group); every row must still be the fault
// of its own point, as a run for that point alone gives it.
TEST_F(FaultCommand, SweepRowsAreTheFaultsOfTheirPoints) {
    const struct {
        std::string fault, axes;
        int rows;
        bool exceeded;
    } sweeps[] = {{"FaultAB --device 20", "--u 0:300:150 --i 0:30:15 --phi 70:80:10", 18, true},
                  {"FaultAN --function record --no-fold", "--i 1:3:1 --phi 0:90:90", 6, false}};
    for (const auto& sweep : sweeps) {
        const Outcome lines = Kv("fault " + sweep.fault + " " + sweep.axes + " --json");
        ASSERT_EQ(lines.status, 0) << lines.err;
        std::istringstream rows(lines.out);
        int count = 0;
        bool exceeded = false;
        for (std::string row; std::getline(rows, row); ++count) {
            const auto j = nlohmann::json::parse(row);
            const auto& in = j["input"];
            const Outcome single = Kv("fault " + sweep.fault + " --u " + in["U"].dump() + " --i " + in["I"].dump() +
                                      " --phi " + in["phi"].dump() + " --json");
            ASSERT_EQ(single.status, 0) << single.err;
            EXPECT_EQ(j, nlohmann::json::parse(single.out)) << sweep.fault << ": " << row;
            exceeded = exceeded || !j["within_limits"].get<bool>();
        }
        EXPECT_EQ(count, sweep.rows) << sweep.fault;
        EXPECT_EQ(exceeded, sweep.exceeded) << sweep.fault;
    }
}

}  // namespace
