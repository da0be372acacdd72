#include "ToolArgs.h"

#include "BinderRuntime.h"

#include <headunit/NumberArg.h>

#include <cstdio>

ToolArgs::ToolArgs(const char* tool) : mTool(tool) {}

bool ToolArgs::parse(int argc, const char* const* argv, const std::vector<Option>& options,
                     std::string* error) {
    mOptions.clear();
    mPositional.clear();
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i] != nullptr ? argv[i] : "";
        const bool looksLikeOption = word.size() > 1 && word[0] == '-' &&
                                     (word[1] < '0' || word[1] > '9');
        if (optionsEnded || !looksLikeOption) {
            mPositional.push_back(word);
            continue;
        }
        if (word == "--") {
            optionsEnded = true;
            continue;
        }
        if (word == "-h" || word == "--help") {
            mOptions.emplace_back("--help", "");
            continue;
        }
        const size_t eq = word.find('=');
        const std::string name = word.substr(0, eq);
        const Option* known = nullptr;
        for (const Option& o : options) {
            if (name == o.name) known = &o;
        }
        if (known == nullptr) {
            *error = "unknown option \"" + name + "\"";
            return false;
        }
        if (known->valueName == nullptr) {
            if (eq != std::string::npos) {
                *error = "option " + name + " takes no value";
                return false;
            }
            mOptions.emplace_back(name, "");
        } else if (eq != std::string::npos) {
            mOptions.emplace_back(name, word.substr(eq + 1));
        } else if (i + 1 < argc) {
            mOptions.emplace_back(name, argv[++i]);
        } else {
            *error = "option " + name + " needs a value " + known->valueName;
            return false;
        }
    }
    return true;
}

bool ToolArgs::has(const std::string& name) const {
    for (const auto& o : mOptions) {
        if (o.first == name) return true;
    }
    return false;
}

std::string ToolArgs::value(const std::string& name, const std::string& fallback) const {
    std::string v = fallback;
    for (const auto& o : mOptions) {
        if (o.first == name) v = o.second;
    }
    return v;
}

bool ToolArgs::intOption(const std::string& name, long min, long max, int* out,
                         std::string* error) const {
    if (!has(name)) return true;
    return parseInt(value(name), min, max, name, out, error);
}

bool ToolArgs::parseInt(const std::string& text, long min, long max, const std::string& what,
                        int* out, std::string* error) {
    return headunit::NumberArg::parse(text, min, max, what, out, error);
}

int ToolArgs::usageError(const std::string& problem, const std::string& usage) const {
    fprintf(stderr, "%s: %s\n", mTool.c_str(), problem.c_str());
    if (!usage.empty()) fprintf(stderr, "%s\n", usage.c_str());
    return kExitUsage;
}

int ToolArgs::printHelp(const std::string& text) {
    fputs(text.c_str(), stdout);
    if (!text.empty() && text.back() != '\n') fputc('\n', stdout);
    return kExitOk;
}

std::string ToolArgs::notRunning(const std::string& what, const std::string& serviceName) {
    return what + " (\"" + serviceName + "\") is not running in " +
           android::BinderRuntime::runtimeDirectory();
}
