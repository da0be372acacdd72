// Fuzz target: the dabreplay script parser and the check of every step that runs before a
// replay starts.
#include "ReplayStepCheck.h"
#include "ReplayScript.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::vector<ReplayStep> steps;
    std::string error;
    if (parseReplayScript(text, &steps, &error)) {
        checkReplaySteps(steps, &error);
        for (const ReplayStep& step : steps) {
            for (const std::string& word : step.words) quoteBytes(word.data(), word.size());
        }
    }
    return 0;
}
