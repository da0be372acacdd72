// The dump and the whole lists across processes: dabctl hands the service a descriptor, a
// stopped application shows its backlog, the media manager's restart shows in the source
// controllers, and a service list comes whole from the simulated tuner.
#include "HeadUnitProcessFixture.h"

#include <nlohmann/json.hpp>

#include <signal.h>

#include <sstream>

using namespace std::chrono_literals;
using json = nlohmann::json;

TEST_F(HeadUnitProcessTest, DumpAcrossProcessesShowsStoppedClientBacklogAndReconnection) {
    startHeadUnit();
    const pid_t watcher = spawn("tools/dabctl/dabctl", {"watch"}, "watch");
    // One section of the dump; null when the service did not answer.
    auto section = [&](const char* name) {
        const json all = json::parse(dabctl({"--json", "dump", name}).out, nullptr, false);
        return all.is_object() ? all.value(name, json()) : json();
    };
    json clients;
    ASSERT_TRUE(waitUntil([&] { return (clients = section("clients")).size() == 1; }, 10s));
    EXPECT_EQ(watcher, clients[0]["pid"].get<int>());
    EXPECT_EQ(true, clients[0]["listener"]);

    // A stopped application reads nothing: what the service sent it stays queued.
    kill(watcher, SIGSTOP);
    for (int level : {2, 5, 3}) ASSERT_EQ(0, dabctl({"sim", "signal", std::to_string(level)}).status);
    auto queued = [&] { return (clients = section("clients"))[0].value("queuedBytes", -1L); };
    ASSERT_TRUE(waitUntil([&] { return queued() > 0; }, 10s)) << clients.dump();
    EXPECT_GE(clients[0]["sent"].get<int>(), 3);
    kill(watcher, SIGCONT);
    ASSERT_TRUE(waitUntil([&] { return queued() == 0; }, 10s));

    // The media manager's restart: both sources are re-created, and the dump says when.
    ASSERT_EQ(0, dabctl({"hu", "restart-mm"}).status);
    json sources;
    ASSERT_TRUE(waitUntil(
            [&] {
                sources = section("sources");
                return sources[0]["attempts"].get<int>() >= 1 && sources[1]["attempts"].get<int>() >= 1 &&
                       !sources[0]["lastSuccessMsAgo"].is_null() && !sources[1]["lastSuccessMsAgo"].is_null();
            },
            10s))
            << sources.dump();
    EXPECT_EQ(true, sources[0]["registered"]);

    // The text form and the refusal of an unknown section.
    const Run text = dabctl({"dump", "lifecycle"});
    EXPECT_EQ(0, text.status);
    EXPECT_EQ(0u, text.out.find("Lifecycle:\n  active: yes\n")) << text.out;
    const Run bad = dabctl({"dump", "lifecycle", "everything"});
    EXPECT_EQ(2, bad.status);
    EXPECT_NE(std::string::npos, bad.err.find("unknown section \"everything\"; known sections: lifecycle "));
}

TEST_F(HeadUnitProcessTest, ListServicePrintsEveryEntryOfTheSimulatedTuner) {
    startHeadUnit();
    const Run list = dabctl({"--json", "list", "service"});
    ASSERT_EQ(0, list.status) << list.err;
    std::istringstream in(list.out);
    std::string line;
    int rows = 0;
    while (std::getline(in, line)) {
        const json row = json::parse(line);
        EXPECT_EQ(rows, row["index"].get<int>());
        // The world has entries without a label; they say so instead of printing nothing.
        EXPECT_TRUE(row["label"].is_string() || row["noData"] == true) << line;
        ++rows;
    }
    // The service's cache agrees on the size of the list it announced.
    const json cache = json::parse(dabctl({"--json", "dump", "cache"}).out)["cache"];
    EXPECT_EQ("service", cache["currentList"]);
    EXPECT_EQ(cache["listSize"].get<int>(), rows);
    EXPECT_EQ(cache["items"]["service"].get<int>(), rows);
    EXPECT_GT(rows, 0);
}
