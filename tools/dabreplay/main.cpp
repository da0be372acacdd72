// dabreplay: runs a scripted tuner session against the real player service and prints
// everything the outside world can observe.
#include "ReplayRunner.h"
#include "ReplayScript.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <unistd.h>

static int usage() {
    fprintf(stderr, "usage: dabreplay [--log] SCRIPT   (SCRIPT - reads standard input)\n");
    return REPLAY_SCRIPT_ERROR;
}

int main(int argc, char** argv) {
    bool withLog = false;
    const char* path = nullptr;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--log") == 0) {
            withLog = true;
        } else if (path == nullptr) {
            path = argv[i];
        } else {
            return usage();
        }
    }
    if (path == nullptr) return usage();

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
    std::string error;
    if (!parseReplayScript(text.str(), &steps, &error) || !checkReplaySteps(steps, &error)) {
        fprintf(stderr, "%s:%s\n", path, error.c_str());
        return REPLAY_SCRIPT_ERROR;
    }
    int status = runReplay(steps, withLog, &error);
    fflush(stdout);
    if (status == REPLAY_AWAIT_TIMED_OUT) {
        size_t colon = error.find(": ");
        printf("error: await timed out: %s\n", error.substr(colon + 2).c_str());
    } else if (status == REPLAY_SCRIPT_ERROR) {
        fprintf(stderr, "%s:%s\n", path, error.c_str());
    }
    fflush(stdout);
    // Skip static destruction: service threads may still be running.
    _exit(status);
}
