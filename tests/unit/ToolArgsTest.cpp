// The tools' command-line layer: where options may stand, what counts as an option, and the
// number checks' boundaries.
#include "ToolArgs.h"

#include <gtest/gtest.h>

namespace {

TEST(ToolArgsTest, OptionsStandAnywhereAndNumbersAreCheckedAtTheirBounds) {
    ToolArgs args("tool");
    std::string error;
    const char* argv[] = {"tool", "sim", "--count=3", "signal", "-5", "--json", "-", "--", "--json"};
    ASSERT_TRUE(args.parse(9, argv, {{"--json", nullptr}, {"--count", "N"}}, &error)) << error;
    EXPECT_EQ((std::vector<std::string>{"sim", "signal", "-5", "-", "--json"}), args.positional());
    EXPECT_TRUE(args.has("--json"));
    EXPECT_FALSE(args.help());
    int n = 0;
    EXPECT_FALSE(args.intOption("--count", 0, 2, &n, &error));
    EXPECT_EQ("--count must be a number in 0..2 (got \"3\")", error);
    EXPECT_TRUE(args.intOption("--count", 3, 3, &n, &error));
    EXPECT_EQ(3, n);

    for (const char* bad : {"", "+", "1x", " 1", "0x1", "2147483648", "99999999999"}) {
        EXPECT_FALSE(ToolArgs::parseInt(bad, INT32_MIN, INT32_MAX, "N", &n, &error)) << bad;
    }
    EXPECT_TRUE(ToolArgs::parseInt("-2147483648", INT32_MIN, INT32_MAX, "N", &n, &error));
    EXPECT_EQ(INT32_MIN, n);

    const char* unknown[] = {"tool", "-x"};
    EXPECT_FALSE(args.parse(2, unknown, {}, &error));
    EXPECT_EQ("unknown option \"-x\"", error);
    const char* missing[] = {"tool", "--count"};
    EXPECT_FALSE(args.parse(2, missing, {{"--count", "N"}}, &error));
    EXPECT_EQ("option --count needs a value N", error);
    const char* help[] = {"tool", "status", "-h"};
    EXPECT_TRUE(args.parse(3, help, {}, &error));
    EXPECT_TRUE(args.help());
}

}  // namespace
