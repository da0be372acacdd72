#include "ReplayScript.h"

#include "RecordQuote.h"

#include <cctype>
#include <cstdio>
#include <sstream>

namespace {

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool splitLine(const std::string& line, ReplayStep* step, std::string* problem) {
    size_t i = 0;
    while (i < line.size()) {
        char c = line[i];
        if (isspace(static_cast<unsigned char>(c))) {
            ++i;
            continue;
        }
        if (c == '#') break;
        std::string word;
        bool quoted = false;
        // key="value" keeps its key: the quoted part continues the word.
        while (i < line.size() && !isspace(static_cast<unsigned char>(line[i]))) {
            if (line[i] == '"') {
                quoted = true;
                ++i;
                bool closed = false;
                while (i < line.size()) {
                    char q = line[i];
                    if (q == '"') {
                        closed = true;
                        ++i;
                        break;
                    }
                    if (q == '\\') {
                        if (i + 1 >= line.size()) break;
                        char e = line[i + 1];
                        if (e == '"' || e == '\\') {
                            word += e;
                            i += 2;
                        } else if (e == 'x' && i + 3 < line.size() + 0 && hexValue(line[i + 2]) >= 0 &&
                                   hexValue(line[i + 3]) >= 0) {
                            word += static_cast<char>(hexValue(line[i + 2]) * 16 + hexValue(line[i + 3]));
                            i += 4;
                        } else {
                            *problem = "bad escape in string";
                            return false;
                        }
                        continue;
                    }
                    word += q;
                    ++i;
                }
                if (!closed) {
                    *problem = "unterminated string";
                    return false;
                }
                continue;
            }
            if (line[i] == '#') break;
            word += line[i++];
        }
        step->words.push_back(word);
        step->quoted.push_back(quoted);
    }
    return true;
}

}  // namespace

bool parseReplayScript(const std::string& text, std::vector<ReplayStep>* steps, std::string* error) {
    std::istringstream in(text);
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        ReplayStep step{number, {}, {}, std::string()};
        std::string problem;
        if (!splitLine(line, &step, &problem)) {
            *error = std::to_string(number) + ": " + problem;
            return false;
        }
        if (!step.words.empty()) steps->push_back(step);
    }
    return true;
}

std::string quoteBytes(const char* data, size_t len) { return "\"" + escapeBytes(data, len) + "\""; }

// Scripts and recordings quote bytes one way, so a recording reads back as written.
std::string escapeBytes(const char* data, size_t len) { return recordEscape(data, len); }

namespace {

const char kIgnorePrefix[] = "# replay-test: ignore ";

struct IncludeState {
    const ReplayFileReader& read;
    const ReplayLimits& limits;
    std::vector<std::string> open;  // canonical names of the files being expanded
    size_t bytes = 0;
    std::vector<ReplayStep>* steps;
    std::vector<std::string>* ignores;
};

std::string directoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

bool expand(IncludeState* st, const std::string& name, const std::string& text, int depth, std::string* error) {
    st->bytes += text.size();
    if (st->bytes > st->limits.maxBytes) {
        *error = name + ":1: scripts larger than " + std::to_string(st->limits.maxBytes) + " bytes together";
        return false;
    }
    std::vector<ReplayStep> own;
    std::string problem;
    if (!parseReplayScript(text, &own, &problem)) {
        *error = name + ":" + problem;
        return false;
    }
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.compare(0, sizeof(kIgnorePrefix) - 1, kIgnorePrefix) == 0) {
            std::string pattern = line.substr(sizeof(kIgnorePrefix) - 1);
            if (!pattern.empty() && pattern.back() == '\r') pattern.pop_back();
            st->ignores->push_back(pattern);
        }
    }
    for (ReplayStep& s : own) {
        s.file = name;
        if (s.words[0] != "include") {
            if (st->steps->size() >= st->limits.maxSteps) {
                *error = name + ":" + std::to_string(s.line) + ": more than " +
                         std::to_string(st->limits.maxSteps) + " steps";
                return false;
            }
            st->steps->push_back(std::move(s));
            continue;
        }
        if (s.words.size() != 2 || !s.quoted[1] || s.words[1].empty()) {
            *error = name + ":" + std::to_string(s.line) + ": include \"FILE\"";
            return false;
        }
        if (depth + 1 > st->limits.maxDepth) {
            *error = name + ":" + std::to_string(s.line) + ": includes nested deeper than " +
                     std::to_string(st->limits.maxDepth);
            return false;
        }
        const std::string path = s.words[1][0] == '/' ? s.words[1] : directoryOf(name) + s.words[1];
        std::string canonical, included;
        if (!st->read(path, &canonical, &included)) {
            *error = name + ":" + std::to_string(s.line) + ": cannot read " + path;
            return false;
        }
        for (const std::string& o : st->open) {
            if (o == canonical) {
                *error = name + ":" + std::to_string(s.line) + ": " + path + " includes itself";
                return false;
            }
        }
        st->open.push_back(canonical);
        if (!expand(st, path, included, depth + 1, error)) return false;
        st->open.pop_back();
    }
    return true;
}

}  // namespace

bool loadReplayScript(const std::string& name, const std::string& text, const ReplayFileReader& read,
                      const ReplayLimits& limits, std::vector<ReplayStep>* steps,
                      std::vector<std::string>* ignores, std::string* error) {
    IncludeState st{read, limits, {}, 0, steps, ignores};
    std::string canonical, unused;
    // Standard input has no file to come back to: only its includes can form a cycle.
    if (read(name, &canonical, &unused)) st.open.push_back(canonical);
    return expand(&st, name, text, 0, error);
}
