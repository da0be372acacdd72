#include "dabsim/SimCharset.h"
#include "dabsim/SimScenario.h"
#include "dabsim/SimWorld.h"

#include <codeconver/CodeConver.h>
#include <gtest/gtest.h>

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

using namespace media_lib_dab;

namespace {

// --- The built-in world ---

// What the listener reads: the bytes as the service hands them to the code converter, with
// the tuner's code mapped as the service maps it (1 EBU Latin, 7 UTF-8, 8 UCS-2).
std::string asListenerReads(const std::string& bytes, int charset, size_t field) {
    const EN_CODE_CONVER code = charset == 1 ? EN_CODE_CONVER_EBU_LATIN
                                : charset == 7 ? EN_CODE_CONVER_UTF8
                                               : EN_CODE_CONVER_UCS2;
    std::string padded = bytes;
    padded.resize(std::max(field, bytes.size()), '\0');
    bool failed = true;
    android::String8 text = CodeConver::convertToTargetString(padded.data(), static_cast<int>(padded.size()), code,
                                                              failed, EN_CODE_CONVERT_LANGUAGE_DEFAULT);
    return failed ? std::string("<conversion failed>") : std::string(text.c_str());
}

TEST(SimWorldTest, BuiltInLabelsAndTextsConvertBackToWhatWasWritten) {
    SimWorld world = SimWorld::builtIn();
    auto check = [](const SimWorld::Label& label) {
        if (label.present) {
            EXPECT_EQ(label.text, asListenerReads(label.bytes, label.charset, 16));
        }
    };
    for (const auto& ens : world.ensembles) {
        check(ens.label);
        for (const auto& svc : ens.services) {
            check(svc.label);
            for (const auto& comp : svc.components) check(comp.label);
            for (const auto& text : svc.dynamicTexts) {
                std::string utf8 = asListenerReads(text.bytes, text.charset, 128);
                std::string back;
                ASSERT_TRUE(SimCharset::encode(utf8, text.charset, &back, nullptr)) << utf8;
                EXPECT_EQ(text.bytes, back) << utf8;
            }
        }
    }
}

// --- Character sets ---

// UCS-2 bytes and the EBU Latin refusal are also pinned by the scenario tests below.
TEST(SimCharsetTest, EncodesInTheTunersCodesAndRefusesWhatTheyCannotHold) {
    std::string out, error;
    ASSERT_TRUE(SimCharset::encode("$\xC5\x82\xE2\x82\xAC\xC3\xBC", 1, &out, &error)) << error;  // $ ł € ü
    EXPECT_EQ(std::string("\xAB\x24\xA9\x99"), out);
    EXPECT_EQ((std::vector<uint32_t>{0x142, 0x24, 0xFC}), SimCharset::decode("\x24\xAB\x99", 1));
    EXPECT_FALSE(SimCharset::encode("\xF0\x9F\x93\xBB", 8, &out, &error));  // a radio emoji
    EXPECT_EQ("character U+1F4FB is outside UCS-2", error);
    EXPECT_FALSE(SimCharset::encode("\xC3", 7, &out, &error));
    EXPECT_EQ("text is not valid UTF-8", error);
    EXPECT_FALSE(SimCharset::encode("x", 2, &out, &error));
}

// --- Scenario files ---

class SimScenarioTest : public ::testing::Test {
protected:
    void SetUp() override {
        char dir[] = "/tmp/simscenarioXXXXXX";
        ASSERT_NE(nullptr, mkdtemp(dir));
        mDir = dir;
        mPath = mDir + "/s.json";
    }
    void TearDown() override { std::filesystem::remove_all(mDir); }

    std::string write(const std::string& name, const std::string& text) {
        std::string path = mDir + "/" + name;
        std::ofstream(path) << text;
        return path;
    }

    // Loads text as a file and returns the refusal ("" when it loaded).
    std::string refusal(const std::string& text) {
        SimWorld world;
        std::string error;
        if (SimWorld::loadScenario(write("s.json", text), &world, &error)) return "";
        return error;
    }

    // A one-ensemble document with the given service members spliced in.
    static std::string withService(const std::string& members) {
        return R"({"ensembles": [{"block": 13, "eid": 1, "label": "E", "services": [{"sid": 7, )" + members +
               "}]}]}";
    }

    std::string mDir;
    std::string mPath;
};

TEST_F(SimScenarioTest, ValidFileLoadsWithDefaultsAndGeneratedPresets) {
    std::string path = write("ok.json", R"({
      "ensembles": [
        {"block": 60, "eid": "0x1234", "label": "Zeta", "services": [
          {"sid": 300, "label": "Zeta One"}, {"sid": 301}]},
        {"block": 13, "eid": 2, "charset": 8, "label": "Ямал", "signal": 1, "services": [
          {"sid": 100, "label": "Север", "charset": 8, "pty": 14, "fmLink": 3,
           "components": [{"scid": 0}, {"scid": 9, "label": "Extra", "charset": 7}],
           "dynamicText": ["Привет"]}]}
      ],
      "start": {"band": 1, "preset": 2}
    })");
    SimWorld world;
    std::string error;
    ASSERT_TRUE(SimWorld::loadScenario(path, &world, &error)) << error;
    EXPECT_EQ(path, world.origin);
    ASSERT_EQ(2u, world.ensembles.size());
    EXPECT_EQ(13, world.ensembles[0].block);  // ordered by block
    EXPECT_EQ(0x1234, world.ensembles[1].eid);
    const SimWorld::Service& north = world.ensembles[0].services[0];
    EXPECT_EQ(8, north.label.charset);
    EXPECT_EQ(std::string("\x04\x21\x04\x35", 4), north.label.bytes.substr(0, 4));
    EXPECT_FALSE(north.components[0].label.present);
    EXPECT_EQ(7, north.components[1].label.charset);
    EXPECT_EQ(12u, north.dynamicTexts[0].bytes.size());
    EXPECT_EQ(8, north.dynamicTexts[0].charset);
    EXPECT_EQ(128, world.ensembles[1].services[0].bitRate);
    EXPECT_FALSE(world.ensembles[1].services[1].label.present);
    EXPECT_EQ(5000, world.dynamicTextIntervalMs);
    // Without presets the banks fill with the services in block order.
    EXPECT_EQ(13, world.presets[0][0].block);
    EXPECT_EQ(300u, world.presets[0][1].sid);
    EXPECT_EQ(301u, world.presets[0][2].sid);
    EXPECT_EQ(0, world.presets[0][3].block);
    EXPECT_EQ(2, world.startPreset);
}

TEST_F(SimScenarioTest, MissingAndMalformedFilesAreRefusedWithTheirPosition) {
    SimWorld world;
    std::string error;
    EXPECT_FALSE(SimWorld::loadScenario(mDir + "/absent.json", &world, &error));
    EXPECT_EQ(mDir + "/absent.json: cannot open: No such file or directory", error);

    std::string why = refusal("{\n  \"ensembles\": [\n    {\"block\": 13,, }\n  ]\n}\n");
    EXPECT_EQ(0u, why.find(mPath + ": line 3, column 18: malformed JSON: ")) << why;
    EXPECT_NE(std::string::npos, why.find("syntax error")) << why;
    EXPECT_EQ(mPath + ": line 1, column 1: malformed JSON: syntax error while parsing value - unexpected end of input; "
                      "expected '[', '{', or a literal",
              refusal(""));
    EXPECT_EQ(mPath + ": malformed JSON: number overflow parsing '8E888'",
              refusal(R"({"ensembles": [8E888]})"));
}

TEST_F(SimScenarioTest, RefusalsNameTheFileThePlaceAndTheReason) {
    const std::string ens = R"({"ensembles": [{"block": 13, "eid": 1, "services": [{"sid": 1}]})";
    const std::pair<std::string, std::string> cases[] = {
        {"[1, 2]", "top level: expected an object"},
        {R"({"ensembles": [], "colour": 1})", "top level: unknown key \"colour\""},
        {withService(R"("lable": "x")"), "ensembles[0].services[0]: unknown key \"lable\""},
        {R"({"ensembles": [], "start": {"bank": 1}})", "start: unknown key \"bank\""},
        // Block ids: the channel table's 13..76.
        {R"({"ensembles": [{"block": 12, "eid": 1, "services": [{"sid": 1}]}]})",
         "ensembles[0].block: block id 12 outside 13..76"},
        {R"({"ensembles": [{"block": 77, "eid": 1, "services": [{"sid": 1}]}]})",
         "ensembles[0].block: block id 77 outside 13..76"},
        {R"({"ensembles": [{"block": 76, "eid": 1, "services": [{"sid": 1}]}]})", ""},
        {R"({"ensembles": [], "presets": [[null, {"block": 80}]]})", "presets[0][1].block: block id 80 outside 13..76"},
        {R"({"ensembles": [{"block": "13", "eid": 1, "services": [{"sid": 1}]}]})",
         "ensembles[0].block: expected an integer"},
        // Labels: at most 16 bytes once encoded. 16 characters are 18 bytes in UTF-8, 16 in EBU Latin.
        {withService(R"("charset": 7, "label": "Müller Radio Süd")"),
         "ensembles[0].services[0].label: label \"M\xC3\xBCller Radio S\xC3\xBC" "d\" is 18 bytes in UTF-8, longer than 16"},
        {withService(R"("charset": 1, "label": "Müller Radio Süd")"), ""},
        {withService(R"("charset": 8, "label": "Radio Süd")"),
         "ensembles[0].services[0].label: label \"Radio S\xC3\xBC" "d\" is 18 bytes in UCS-2, longer than 16"},
        {withService(R"("label": "Tilde~FM")"),
         "ensembles[0].services[0].label: label \"Tilde~FM\": character U+007E has no EBU Latin code"},
        {withService(R"("charset": 3)"),
         "ensembles[0].services[0].charset: charset 3 is not 1 (EBU Latin), 7 (UTF-8) or 8 (UCS-2)"},
        // Worlds that do not hold together.
        {R"({"ensembles": [{"block": 13, "services": [{"sid": 1}]}]})", "ensembles[0]: missing key \"eid\""},
        {ens + R"(, {"block": 13, "eid": 2, "services": [{"sid": 2}]}]})",
         "ensembles[1].block: a second ensemble on block 13"},
        {ens + R"(], "presets": [[], [{"block": 13, "sid": 99}]]})", "presets[1][0].sid: no service with SId 99 on block 13"},
        {withService(R"("dynamicText": [")" + std::string(129, 'x') + "\"]"),
         "ensembles[0].services[0].dynamicText[0]: dynamic text is 129 bytes in EBU Latin, longer than 128"},
        {R"({"ensembles": [], "dynamicTextIntervalMs": 10})", "dynamicTextIntervalMs: 10 outside 500..600000"},
        {R"({"ensembles": [{"block": 13, "eid": 1, "services": []}]})",
         "ensembles[0].services: an ensemble needs at least one service"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.second.empty() ? "" : mPath + ": " + c.second, refusal(c.first)) << c.first;
    }
    // A refused file leaves the world as it was.
    SimWorld world = SimWorld::builtIn();
    const size_t ensembles = world.ensembles.size();
    std::string error;
    EXPECT_FALSE(SimWorld::loadScenario(write("bad.json", "[1, 2]"), &world, &error));
    EXPECT_EQ(ensembles, world.ensembles.size());
}

// A refused scenario named by DAB_SIM_SCENARIO stopping the service is in tests/run/check_run.sh.

}  // namespace
