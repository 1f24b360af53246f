#include "target/targetCurrent.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

// The number on the first line, and 0 for anything that is not one.
TEST(TargetCurrent, ReadsTheNumberOnTheFirstLineOnly) {
    char dir[] = "/tmp/target-type-XXXXXX";
    ASSERT_TRUE(mkdtemp(dir));
    const std::string path = std::string(dir) + "/target_type";
    const char* const missing = nullptr;
    const std::pair<const char*, int> cases[] = {
        {missing, 0},  {"9\n", 9},  {"9", 9}, {"12\n9\n", 12},     {"\n9\n", 0},
        {"nine\n", 0}, {"9x\n", 0}, {"", 0},  {"99999999999\n", 0}};
    for (const auto& c : cases) {
        unlink(path.c_str());
        if (c.first)
            std::ofstream(path) << c.first;
        EXPECT_EQ(platform::TargetCurrent(path).GetTargetType(), c.second)
            << (c.first ? c.first : "");
    }
    EXPECT_EQ(platform::TargetCurrent(dir).GetTargetType(), 0);  // not a file
    unlink(path.c_str());
    rmdir(dir);
}
