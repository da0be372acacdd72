// A helper process for the binder transport's multi-process tests.
//
//   binder_test_peer service NAME [MAX_POOL_THREADS]
//       publishes a TestNode as NAME and serves for ever.
//   binder_test_peer client NAME
//       gets NAME, registers a TestNode of its own as callback, keeps an object it asked the
//       service to create, then serves for ever; exits with status 4 when the service dies.
//   binder_test_peer self-listeners COUNT [hold|bare]
//       creates COUNT clients of "DABPlayer", each with a callback (none with bare), and makes
//       each client object its own listener; then exits, or with hold prints "ready" and
//       serves for ever.
//   binder_test_peer reconnect COUNT
//       COUNT times: connects to "DABPlayer", creates a client, asks it for the band, and
//       closes the connection again.
//
// Exit statuses: 2 usage, 4 the service died, 5 the service was not found.
#include "BinderTestNode.h"

#include <dabplayer/IDABPlayerService.h>

#include "BinderRuntime.h"

#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include <signal.h>
#include <unistd.h>
#include <sys/prctl.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

using namespace android;
using binder_test::TestNode;

namespace {

class ExitOnDeath : public IBinder::DeathRecipient {
public:
    void binderDied(const wp<IBinder>&) override { _exit(4); }
};

class IgnoringClient : public BnDABPlayerClient {
public:
    void notify(int, int, int, const Parcel*) override {}
};

int usage() {
    fprintf(stderr, "usage: binder_test_peer service NAME [MAX_POOL_THREADS] | client NAME | "
                    "self-listeners COUNT [hold]\n");
    return 2;
}

int selfListeners(int count, bool hold, bool bare) {
    sp<IDABPlayerService> service =
            interface_cast<IDABPlayerService>(defaultServiceManager()->getService(String16("DABPlayer")));
    if (service == nullptr) return 5;
    ProcessState::self()->startThreadPool();
    std::vector<sp<IDABPlayer>> players;
    for (int i = 0; i < count; ++i) {
        sp<IDABPlayerClient> callback;
        if (!bare) callback = new IgnoringClient();
        sp<IDABPlayer> player = service->createClient(static_cast<int>(getpid()), callback);
        if (player == nullptr) return 4;
        // The client object's own binder, handed back as a callback.
        if (player->setClientListener(interface_cast<IDABPlayerClient>(IInterface::asBinder(player))) != 0) {
            return 4;
        }
        players.push_back(player);
    }
    if (!hold) return 0;
    printf("ready\n");
    fflush(stdout);
    IPCThreadState::self()->joinThreadPool(true);
    return 0;
}

}  // namespace

int reconnect(int count) {
    ProcessState::self()->startThreadPool();
    for (int i = 0; i < count; ++i) {
        {
            sp<IDABPlayerService> service = interface_cast<IDABPlayerService>(
                    defaultServiceManager()->getService(String16("DABPlayer")));
            if (service == nullptr) return 5;
            sp<IDABPlayer> player = service->createClient(static_cast<int>(getpid()), new IgnoringClient());
            int band = 0;
            if (player == nullptr || player->getBand(&band) < -1) return 4;
        }
        BinderRuntime::closeAllConnections();
        while (BinderRuntime::connectionCount() != 0) usleep(1000);
    }
    return 0;
}

int main(int argc, char** argv) {
    // Never outlive the test that started this process.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (argc < 3) return usage();
    if (strcmp(argv[1], "reconnect") == 0) return reconnect(atoi(argv[2]));
    if (strcmp(argv[1], "self-listeners") == 0) {
        const char* mode = argc > 3 ? argv[3] : "";
        return selfListeners(atoi(argv[2]), strcmp(mode, "hold") == 0, strcmp(mode, "bare") == 0);
    }
    const String16 name(argv[2]);
    if (strcmp(argv[1], "service") == 0) {
        if (argc > 3) ProcessState::self()->setThreadPoolMaxThreadCount(static_cast<size_t>(atoi(argv[3])));
        sp<TestNode> node = new TestNode();
        if (defaultServiceManager()->addService(name, node) != NO_ERROR) return 1;
        ProcessState::self()->startThreadPool();
        IPCThreadState::self()->joinThreadPool(true);
        return 0;
    }
    if (strcmp(argv[1], "client") == 0) {
        sp<IBinder> service = defaultServiceManager()->getService(name);
        if (service == nullptr) return 5;
        sp<IBinder::DeathRecipient> onDeath = new ExitOnDeath();
        service->linkToDeath(onDeath);
        ProcessState::self()->startThreadPool();
        sp<TestNode> callback = new TestNode();
        Parcel data;
        Parcel reply;
        data.writeStrongBinder(callback);
        if (service->transact(binder_test::REGISTER, data, &reply) != NO_ERROR) return 4;
        Parcel none;
        Parcel created;
        if (service->transact(binder_test::CREATE, none, &created) != NO_ERROR) return 4;
        sp<IBinder> kept = created.readStrongBinder();
        IPCThreadState::self()->joinThreadPool(true);
        return 0;
    }
    return usage();
}
