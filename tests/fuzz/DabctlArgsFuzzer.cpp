// Fuzz target: dabctl's command line as dabctl reads it: the words (NUL-separated in the
// input) split into options and positional arguments with dabctl's options, the options'
// numbers, the operation named by the first word and its int arguments.
#include "PlayerOperations.h"
#include "ToolArgs.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<std::string> words{"dabctl"};
    std::string word;
    for (size_t i = 0; i < size && words.size() < 32; ++i) {
        if (data[i] == 0) {
            words.push_back(word);
            word.clear();
        } else {
            word += static_cast<char>(data[i]);
        }
    }
    if (!word.empty()) words.push_back(word);
    std::vector<const char*> argv;
    for (const std::string& w : words) argv.push_back(w.c_str());

    ToolArgs args("dabctl");
    std::string error;
    if (!args.parse(static_cast<int>(argv.size()), argv.data(),
                    {{"--json", nullptr}, {"--count", "N"}, {"--seconds", "S"}}, &error)) {
        if (error.empty()) __builtin_trap();  // a refusal always says why
        return 0;
    }
    int count = -1;
    int seconds = -1;
    args.intOption("--count", 0, 1000000, &count, &error);
    args.intOption("--seconds", 0, 86400, &seconds, &error);
    const std::vector<std::string>& positional = args.positional();
    if (positional.empty()) return 0;
    const dabclient::PlayerOperation* op = dabclient::findOperation(positional[0]);
    if (op == nullptr) return 0;
    for (size_t i = 1; i < positional.size() && i <= op->args.size(); ++i) {
        int value = 0;
        ToolArgs::parseInt(positional[i], INT_MIN, INT_MAX, op->args[i - 1], &value, &error);
    }
    return 0;
}
