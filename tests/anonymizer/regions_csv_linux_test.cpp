#include "regions_csv.h"

#include <gtest/gtest.h>

TEST(RegionsCsv, AReadErrorIsNoEndOfFile) {
    wxString error;
    EXPECT_FALSE(regions_csv::read("/proc/self/mem", error).has_value());
    EXPECT_EQ(error, "Input/output error");
}
