#include "ReplayScript.h"

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
        ReplayStep step{number, {}, {}};
        std::string problem;
        if (!splitLine(line, &step, &problem)) {
            *error = std::to_string(number) + ": " + problem;
            return false;
        }
        if (!step.words.empty()) steps->push_back(step);
    }
    return true;
}

std::string quoteBytes(const char* data, size_t len) {
    std::string out = "\"";
    for (size_t i = 0; i < len; ++i) {
        unsigned char c = static_cast<unsigned char>(data[i]);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c >= 0x20 && c < 0x7f) {
            out += static_cast<char>(c);
        } else {
            char buf[8];
            snprintf(buf, sizeof(buf), "\\x%02x", c);
            out += buf;
        }
    }
    return out + "\"";
}
