#include "ReplayPattern.h"

namespace {
// Long expressions are where a script could make matching slow.
constexpr size_t kMaxRegexLength = 200;
}  // namespace

ReplayPattern::ReplayPattern() {}

bool ReplayPattern::set(const std::string& word, std::string* problem) {
    mText = word;
    mIsRegex = word.size() >= 2 && word.front() == '/' && word.back() == '/';
    if (!mIsRegex) return true;
    const std::string expr = word.substr(1, word.size() - 2);
    if (expr.size() > kMaxRegexLength) {
        *problem = "regex longer than " + std::to_string(kMaxRegexLength) + " characters";
        return false;
    }
    try {
        mRegex = std::regex(expr, std::regex::ECMAScript);
    } catch (const std::regex_error& e) {
        *problem = "bad regex " + word + ": " + e.what();
        return false;
    }
    return true;
}

bool ReplayPattern::matches(const std::string& line) const {
    if (!mIsRegex) return line.compare(0, mText.size(), mText) == 0;
    return std::regex_search(line, mRegex);
}

const std::string& ReplayPattern::text() const { return mText; }
