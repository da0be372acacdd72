// dabreplay: runs a scripted tuner session against the real player service and prints
// everything the outside world can observe.
#include "ReplayRunner.h"
#include "ReplayScript.h"
#include "ToolArgs.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <iostream>
#include <sstream>
#include <unistd.h>

// The service publishes itself as it does on the device; a replay keeps its sockets in a
// directory of its own so that replays never meet each other or a running head unit.
static std::string makePrivateBinderDir() {
    if (getenv("DAB_BINDER_DIR") != nullptr) return std::string();
    char dir[] = "/tmp/dabreplay-XXXXXX";
    if (mkdtemp(dir) == nullptr) return std::string();
    setenv("DAB_BINDER_DIR", dir, 1);
    return dir;
}

static void removeDir(const std::string& dir) {
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

static const char kUsage[] = "usage: dabreplay [--log] SCRIPT   (SCRIPT - reads standard input)";

int main(int argc, char** argv) {
    ToolArgs args("dabreplay");
    std::string error;
    if (!args.parse(argc, argv, {{"--log", nullptr}}, &error)) return args.usageError(error, kUsage);
    if (args.help()) return ToolArgs::printHelp(kUsage);
    if (args.positional().size() != 1) {
        return args.usageError(args.positional().empty() ? "SCRIPT is missing" : "one SCRIPT only",
                               kUsage);
    }
    const bool withLog = args.has("--log");
    const char* path = args.positional()[0].c_str();

    std::stringstream text;
    if (strcmp(path, "-") == 0) {
        text << std::cin.rdbuf();
    } else {
        std::ifstream in(path);
        if (!in) {
            fprintf(stderr, "%s: cannot read the script\n", path);
            return REPLAY_SCRIPT_ERROR;
        }
        text << in.rdbuf();
    }

    std::vector<ReplayStep> steps;
    if (!parseReplayScript(text.str(), &steps, &error) || !checkReplaySteps(steps, &error)) {
        fprintf(stderr, "%s:%s\n", path, error.c_str());
        return REPLAY_SCRIPT_ERROR;
    }
    const std::string binderDir = makePrivateBinderDir();
    int status = runReplay(steps, withLog, &error);
    fflush(stdout);
    if (status == REPLAY_AWAIT_TIMED_OUT) {
        size_t colon = error.find(": ");
        printf("error: await timed out: %s\n", error.substr(colon + 2).c_str());
    } else if (status == REPLAY_SCRIPT_ERROR) {
        fprintf(stderr, "%s:%s\n", path, error.c_str());
    }
    fflush(stdout);
    removeDir(binderDir);
    // Skip static destruction: service threads may still be running.
    _exit(status);
}
