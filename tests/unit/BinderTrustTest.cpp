// Who the transport trusts: a runtime directory that another user could have made or entered
// is refused by servers and clients alike, and a client sends nothing to a server that runs
// as another user (root excepted).
#include "BinderIpcFixture.h"

#include "BinderRuntime.h"

#include <binder/IServiceManager.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

using namespace android;
using namespace binder_test;
using namespace std::chrono_literals;

namespace {

constexpr uid_t kOtherUid = 65534;

class BinderTrustTest : public BinderIpcTest {
protected:
    void TearDown() override {
        for (auto it = mMade.rbegin(); it != mMade.rend(); ++it) {
            if (rmdir(it->c_str()) != 0) unlink(it->c_str());
        }
        BinderIpcTest::TearDown();
    }
    // A path in a scratch directory of the test's own, removed at teardown.
    std::string scratch(const std::string& name) {
        if (mBase.empty()) {
            char pattern[] = "/tmp/binder-trust-XXXXXX";
            if (mkdtemp(pattern) != nullptr) mBase = pattern;
            mMade.push_back(mBase);
        }
        mMade.push_back(mBase + "/" + name);
        return mBase + "/" + name;
    }
    void useDirectory(const std::string& path) { setenv("DAB_BINDER_DIR", path.c_str(), 1); }

private:
    std::string mBase;
    std::vector<std::string> mMade;
};

}  // namespace

TEST_F(BinderTrustTest, LinkedOpenOrForeignRuntimeDirectoryIsRefusedByServerAndClient) {
    HostLog::Capture log;
    // The runtime's first use, in a sound directory: a process that starts in a refused one
    // exits (HeadUnitProcessTest covers that).
    BinderRuntime::connectionCount();
    const std::string open = scratch("open");
    ASSERT_EQ(0, mkdir(open.c_str(), 0700));
    ASSERT_EQ(0, chmod(open.c_str(), 0750));
    const std::string link = scratch("link");
    ASSERT_EQ(0, symlink(dir().c_str(), link.c_str()));
    const std::string file = scratch("file");
    close(::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));

    std::string problem;
    EXPECT_TRUE(BinderRuntime::checkRuntimeDirectory(dir(), &problem)) << problem;
    EXPECT_TRUE(BinderRuntime::checkRuntimeDirectory(scratch("missing"), &problem)) << problem;
    EXPECT_FALSE(BinderRuntime::checkRuntimeDirectory(open, &problem));
    EXPECT_EQ("other users have access to it (mode 0750, 0700 needed)", problem);
    EXPECT_FALSE(BinderRuntime::checkRuntimeDirectory(link, &problem));
    EXPECT_EQ("it is a symbolic link", problem);
    EXPECT_FALSE(BinderRuntime::checkRuntimeDirectory(file, &problem));
    EXPECT_EQ("it is not a directory", problem);
    if (geteuid() == 0) {
        const std::string foreign = scratch("foreign");
        ASSERT_EQ(0, mkdir(foreign.c_str(), 0700));
        ASSERT_EQ(0, chown(foreign.c_str(), kOtherUid, kOtherUid));
        EXPECT_FALSE(BinderRuntime::checkRuntimeDirectory(foreign, &problem));
        EXPECT_EQ("it belongs to uid 65534, not to uid 0", problem);
    }

    // A server neither listens there nor repairs the mode behind the user's back.
    useDirectory(open);
    EXPECT_EQ(PERMISSION_DENIED, defaultServiceManager()->addService(String16("mine"), new TestNode()));
    EXPECT_TRUE(log.contains("runtime directory " + open +
                             " refused: other users have access to it (mode 0750, 0700 needed)"));
    struct stat st;
    ASSERT_EQ(0, stat(open.c_str(), &st));
    EXPECT_EQ(0750u, st.st_mode & 0777);

    // A client does not reach a live service through a link.
    useDirectory(dir());
    spawnPeer({"service", "svc"});
    ASSERT_NE(nullptr, defaultServiceManager()->getService(String16("svc")));
    BinderRuntime::closeAllConnections();
    ASSERT_TRUE(waitUntil([] { return BinderRuntime::connectionCount() == 0; }, 5s));
    useDirectory(link);
    EXPECT_EQ(nullptr, defaultServiceManager()->checkService(String16("svc")));
    EXPECT_EQ(0u, BinderRuntime::connectionCount());
    EXPECT_TRUE(log.contains("runtime directory " + link + " refused: it is a symbolic link"));
    useDirectory(dir());
}

TEST_F(BinderTrustTest, ClientSendsNothingToAServerOfAnotherUser) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root to run a server as another user";
    HostLog::Capture log;
    const std::string path = dir() + "/other.sock";
    struct sockaddr_un addr;
    memset(&addr, 0, sizeof(addr));
    addr.sun_family = AF_UNIX;
    ASSERT_LT(path.size(), sizeof(addr.sun_path));
    memcpy(addr.sun_path, path.c_str(), path.size() + 1);
    int report[2];
    ASSERT_EQ(0, pipe2(report, O_CLOEXEC));
    const pid_t server = fork();
    ASSERT_GE(server, 0);
    if (server == 0) {
        // Raw system calls only: the test process has threads. The socket takes the uid it
        // has when it starts listening.
        alarm(20);
        const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (fd < 0 || bind(fd, reinterpret_cast<struct sockaddr*>(&addr), sizeof(addr)) != 0 ||
            syscall(SYS_setresuid, kOtherUid, kOtherUid, kOtherUid) != 0 || listen(fd, 1) != 0) {
            _exit(1);
        }
        char ready = 'r';
        if (write(report[1], &ready, 1) != 1) _exit(1);
        const int peer = accept(fd, nullptr, nullptr);
        long received = 0;
        char buf[256];
        for (ssize_t n; peer >= 0 && (n = read(peer, buf, sizeof(buf))) > 0;) received += n;
        if (write(report[1], &received, sizeof(received)) != sizeof(received)) _exit(1);
        _exit(0);
    }
    close(report[1]);
    char ready = 0;
    ASSERT_EQ(1, read(report[0], &ready, 1));
    EXPECT_EQ(nullptr, defaultServiceManager()->checkService(String16("other")));
    long received = -1;
    EXPECT_EQ(static_cast<ssize_t>(sizeof(received)), read(report[0], &received, sizeof(received)));
    EXPECT_EQ(0, received) << "bytes the client sent to the foreign server";
    close(report[0]);
    int status = 0;
    waitpid(server, &status, 0);
    EXPECT_TRUE(log.contains(path + " refused: served by uid 65534 (pid " + std::to_string(server) +
                             "), neither this user (uid 0) nor root"));
    EXPECT_EQ(0u, BinderRuntime::connectionCount());
}
