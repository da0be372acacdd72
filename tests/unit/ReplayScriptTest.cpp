// The dabreplay script language: includes and their bounds, patterns, the transcript diff.
#include "ReplayDiff.h"
#include "ReplayPattern.h"
#include "ReplayScript.h"

#include <gtest/gtest.h>

#include <map>

namespace {

// Scripts in memory, by path.
class Files {
public:
    std::map<std::string, std::string> texts;
    ReplayFileReader reader() {
        return [this](const std::string& path, std::string* canonical, std::string* text) {
            auto it = texts.find(path);
            if (it == texts.end()) return false;
            *canonical = path;
            *text = it->second;
            return true;
        };
    }
    bool load(const std::string& name, std::vector<ReplayStep>* steps, std::string* error,
              ReplayLimits limits = ReplayLimits()) {
        std::vector<std::string> ignores;
        return loadReplayScript(name, texts[name], reader(), limits, steps, &ignores, error);
    }
};

// Steps running in place of an include and include cycles are in Replay.include_setup and
// Replay.include_cycle.
TEST(ReplayScript, IncludesAreBoundedInDepthAndSizeAndMustBeReadable) {
    Files f;
    std::vector<ReplayStep> steps;
    std::string error;
    f.texts["d0"] = "include \"d1\"\n";
    f.texts["d1"] = "include \"d2\"\n";
    f.texts["d2"] = "start\n";
    ReplayLimits shallow;
    shallow.maxDepth = 1;
    EXPECT_FALSE(f.load("d0", &steps, &error, shallow));
    EXPECT_EQ("d1:1: includes nested deeper than 1", error);

    ReplayLimits small;
    small.maxBytes = 20;
    f.texts["big"] = "include \"d2\"\n# twenty bytes and more\n";
    EXPECT_FALSE(f.load("big", &steps, &error, small));
    EXPECT_EQ("big:1: scripts larger than 20 bytes together", error);

    f.texts["missing"] = "\ninclude \"nowhere\"\n";
    EXPECT_FALSE(f.load("missing", &steps, &error));
    EXPECT_EQ("missing:2: cannot read nowhere", error);
}

TEST(ReplayScript, PatternIsPrefixOrRegex) {
    ReplayPattern prefix, regex, bad;
    std::string problem;
    ASSERT_TRUE(prefix.set("client1 notify", &problem));
    ASSERT_TRUE(regex.set("/notify 45 [12] /", &problem));
    EXPECT_TRUE(prefix.matches("client1 notify 45 1 0"));
    EXPECT_FALSE(prefix.matches("client2 notify 45 1 0"));
    EXPECT_TRUE(regex.matches("client2 notify 45 1 0"));
    EXPECT_FALSE(regex.matches("client2 notify 45 3 0"));
    EXPECT_FALSE(bad.set("/([/", &problem));
}

TEST(ReplayDiff, ShowsRemovedBeforeAddedWithContext) {
    const std::vector<std::string> expected = {"a", "b", "c", "d", "e", "f", "g", "h", "i"};
    std::vector<std::string> actual = expected;
    actual[4] = "E";
    EXPECT_EQ("", unifiedDiff(expected, expected, "x", "y"));
    EXPECT_EQ("--- x\n+++ y\n@@ -2,7 +2,7 @@\n b\n c\n d\n-e\n+E\n f\n g\n h\n", unifiedDiff(expected, actual, "x", "y"));
    EXPECT_EQ("--- x\n+++ y\n@@ -0,0 +1,1 @@\n+a\n", unifiedDiff({}, {"a"}, "x", "y"));
}

}  // namespace
