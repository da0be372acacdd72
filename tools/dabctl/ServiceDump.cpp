#include "ServiceDump.h"

#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include <stdio.h>
#include <unistd.h>

using namespace android;

namespace dabclient {

namespace {
constexpr const char kServiceName[] = "DABPlayer";
// A dump larger than this is cut: the service's dump is a few hundred kilobytes at most.
constexpr size_t kMaxDumpBytes = 16u << 20;
}  // namespace

int ServiceDump::take(const std::vector<std::string>& args, std::string* output) {
    output->clear();
    ProcessState::self()->startThreadPool();
    sp<IBinder> binder = defaultServiceManager()->getService(String16(kServiceName));
    if (binder == nullptr) {
        *output = "the DAB player service (\"DABPlayer\") is not running";
        return NO_SERVICE;
    }
    // A file, not a pipe: the service never waits for this process to read.
    FILE* file = tmpfile();
    if (file == nullptr) {
        *output = "cannot create a temporary file for the dump";
        return NO_SERVICE;
    }
    Vector<String16> dumpArgs;
    for (const std::string& a : args) dumpArgs.add(String16(a.c_str()));
    const status_t status = binder->dump(fileno(file), dumpArgs);
    if (status != NO_ERROR && status != BAD_VALUE && status != PERMISSION_DENIED) {
        fclose(file);
        *output = "the DAB player service went away during the dump";
        return NO_SERVICE;
    }
    // The service wrote through its own copy of the descriptor, which shares the offset.
    rewind(file);
    char buf[65536];
    size_t n;
    while ((n = fread(buf, 1, sizeof(buf), file)) > 0 && output->size() < kMaxDumpBytes) {
        output->append(buf, n);
    }
    fclose(file);
    return status == NO_ERROR ? OK : REFUSED;
}

}  // namespace dabclient
