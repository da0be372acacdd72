// dabreplay: runs a scripted tuner session against the real player service and prints
// everything the outside world can observe; with --expect, compares that with a transcript
// kept beside the script.
#include "ReplayDiff.h"
#include "ReplayRunner.h"
#include "ReplayScript.h"
#include "ReplayStepCheck.h"
#include "ToolArgs.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <iostream>
#include <limits.h>
#include <regex>
#include <sstream>
#include <unistd.h>

namespace {

struct Options {
    bool withLog = false;
    bool timestamps = false;
    bool update = false;       // --update: write the expected file instead of comparing
    std::string expected;      // --expect FILE; empty: print the transcript
    std::string script;
};

constexpr int kExitUsage = ToolArgs::kExitUsage;

const char kUsage[] =
        "usage: dabreplay [--log] [--timestamps] [--expect EXPECTED [--update]] SCRIPT   (SCRIPT - reads "
        "standard input)";

// The whole command line. -1 when the replay runs, else the status to exit with (help, usage).
int parseArguments(int argc, char** argv, Options* o) {
    ToolArgs args("dabreplay");
    std::string error;
    if (!args.parse(argc, argv, {{"--log", nullptr}, {"--timestamps", nullptr}, {"--expect", "EXPECTED"},
                                 {"--update", nullptr}},
                    &error)) {
        return args.usageError(error, kUsage);
    }
    if (args.help()) return ToolArgs::printHelp(kUsage);
    if (args.positional().size() != 1) {
        return args.usageError(args.positional().empty() ? "SCRIPT is missing" : "one SCRIPT only", kUsage);
    }
    o->withLog = args.has("--log");
    o->timestamps = args.has("--timestamps");
    o->update = args.has("--update");
    o->expected = args.value("--expect");
    o->script = args.positional()[0];
    if (o->update && o->expected.empty()) return args.usageError("--update needs --expect", kUsage);
    return -1;
}

// The service publishes itself as it does on the device; a replay keeps its sockets in a
// directory of its own so that replays never meet each other or a running head unit.
std::string makePrivateBinderDir() {
    if (getenv("DAB_BINDER_DIR") != nullptr) return std::string();
    char dir[] = "/tmp/dabreplay-XXXXXX";
    if (mkdtemp(dir) == nullptr) return std::string();
    setenv("DAB_BINDER_DIR", dir, 1);
    return dir;
}

void removeDir(const std::string& dir) {
    if (dir.empty()) return;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d)) {
            if (strcmp(e->d_name, ".") != 0 && strcmp(e->d_name, "..") != 0) {
                unlink((dir + "/" + e->d_name).c_str());
            }
        }
        closedir(d);
    }
    rmdir(dir.c_str());
}

bool readFile(const std::string& path, std::string* canonical, std::string* text) {
    if (path == "-") return false;
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::stringstream s;
    s << in.rdbuf();
    *text = s.str();
    char resolved[PATH_MAX];
    *canonical = realpath(path.c_str(), resolved) != nullptr ? resolved : path;
    return true;
}

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) lines.push_back(line);
    return lines;
}

// Lines the script's "# replay-test: ignore REGEX" patterns match at their start are dropped.
std::vector<std::string> withoutIgnored(const std::vector<std::string>& lines, const std::vector<std::string>& ignores,
                                        std::string* problem) {
    std::vector<std::regex> patterns;
    for (const std::string& p : ignores) {
        try {
            patterns.emplace_back(p, std::regex::extended);
        } catch (const std::regex_error&) {
            *problem = "bad replay-test ignore pattern: " + p;
            return lines;
        }
    }
    std::vector<std::string> kept;
    for (const std::string& l : lines) {
        bool drop = false;
        for (const std::regex& r : patterns) {
            drop = drop || std::regex_search(l, r, std::regex_constants::match_continuous);
        }
        if (!drop) kept.push_back(l);
    }
    return kept;
}

// --expect: the run as the expected file writes it ("status N", the transcript, then each
// line of standard error as "stderr: ..."), compared; a unified diff when it differs.
int compare(const Options& o, int status, const std::vector<std::string>& out, const std::vector<std::string>& err,
            const std::vector<std::string>& ignores) {
    std::string text, unused;
    if (o.update) {
        std::string problem;
        std::ofstream file(o.expected, std::ios::binary);
        file << "status " << status << "\n";
        for (const std::string& l : withoutIgnored(out, ignores, &problem)) file << l << "\n";
        for (const std::string& l : err) file << "stderr: " << l << "\n";
        return file.good() ? 0 : kExitUsage;
    }
    if (!readFile(o.expected, &unused, &text)) {
        fprintf(stderr, "%s: cannot read the expected transcript\n", o.expected.c_str());
        return kExitUsage;
    }
    std::string problem;
    std::vector<std::string> actual = {"status " + std::to_string(status)};
    for (const std::string& l : withoutIgnored(out, ignores, &problem)) actual.push_back(l);
    for (const std::string& l : err) actual.push_back("stderr: " + l);
    if (!problem.empty()) {
        fprintf(stderr, "%s\n", problem.c_str());
        return kExitUsage;
    }
    const std::string diff = unifiedDiff(splitLines(text), actual, o.expected, "replay of " + o.script);
    if (diff.empty()) return 0;
    fputs(diff.c_str(), stdout);
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    Options o;
    const int argStatus = parseArguments(argc, argv, &o);
    if (argStatus >= 0) return argStatus;
    // A replay is not a session to record: DAB_RECORD could name the very script it reads.
    unsetenv("DAB_RECORD");

    std::string text;
    if (o.script == "-") {
        std::stringstream s;
        s << std::cin.rdbuf();
        text = s.str();
    } else {
        std::string unused;
        if (!readFile(o.script, &unused, &text)) {
            fprintf(stderr, "%s: cannot read the script\n", o.script.c_str());
            return kExitUsage;
        }
    }

    std::vector<ReplayStep> steps;
    std::vector<std::string> ignores;
    std::string error;
    const bool checked = loadReplayScript(o.script, text, readFile, ReplayLimits(), &steps, &ignores, &error) &&
                         checkReplaySteps(steps, &error);
    if (!checked) {
        if (!o.expected.empty()) _exit(compare(o, REPLAY_SCRIPT_ERROR, {}, {error}, ignores));
        fprintf(stderr, "%s\n", error.c_str());
        return REPLAY_SCRIPT_ERROR;
    }
    const std::string binderDir = makePrivateBinderDir();
    // The transcript lives as long as the process: the service's threads may still add to it.
    ReplayTranscript* transcript = new ReplayTranscript(!o.expected.empty() ? nullptr : stdout, o.timestamps);
    const int status = runReplay(steps, o.withLog, transcript, &error);
    std::vector<std::string> out = transcript->printed();
    std::vector<std::string> err;
    if (status == REPLAY_SCRIPT_ERROR) {
        err.push_back(error);
    } else if (status != REPLAY_OK) {
        out.push_back(error);
    }
    int exitStatus = status;
    if (!o.expected.empty()) {
        exitStatus = compare(o, status, out, err, ignores);
    } else {
        fflush(stdout);
        if (status == REPLAY_SCRIPT_ERROR) fprintf(stderr, "%s\n", error.c_str());
        if (status != REPLAY_OK && status != REPLAY_SCRIPT_ERROR) printf("%s\n", error.c_str());
    }
    fflush(stdout);
    removeDir(binderDir);
    // Skip static destruction: service threads may still be running.
    _exit(exitStatus);
}
