#ifndef DAB_TOOLS_DABWEB_WEBSERVER_H
#define DAB_TOOLS_DABWEB_WEBSERVER_H

#include "EventHub.h"
#include "RadioLink.h"
#include "RadioModel.h"

#include <atomic>
#include <memory>
#include <string>

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace dabweb {

// The HTTP side of dabweb: the screen's files, the JSON API and the event stream. Every
// request is checked before anything reaches the service: bounded body, JSON parsed without
// trusting it, argument count and types against the operation's signature.
class WebServer {
public:
    static constexpr size_t kMaxBody = 64 * 1024;
    static constexpr int kMaxStreams = 32;
    static constexpr int kWorkerThreads = kMaxStreams + 16;

    // Main thread; non-blocking.
    WebServer(RadioModel& model, EventHub& hub, RadioLink& link);
    // Main thread; blocks until the listener has stopped.
    ~WebServer();

    // Main thread; non-blocking. Binds the address (port 0: any free port); false with
    // *error when it cannot. *port holds the bound port.
    bool bind(const std::string& address, int* port, std::string* error);
    // Main thread; blocks until stop() is called from another thread.
    void serve();
    // Any thread; non-blocking. Ends serve().
    void stop();

private:
    void routes();  // constructor
    // HTTP worker threads; each blocks for its calls to the service (handleEvents for as
    // long as the stream is open, handleList until the list arrived).
    void handleEvents(const httplib::Request& req, httplib::Response& res);
    void handleCall(const httplib::Request& req, httplib::Response& res);
    void handleList(const httplib::Request& req, httplib::Response& res);
    void handleSim(const httplib::Request& req, httplib::Response& res);

    RadioModel& mModel;  // immutable; locks of its own
    EventHub& mHub;      // immutable; locks of its own
    RadioLink& mLink;    // immutable; locks of its own
    std::unique_ptr<httplib::Server> mServer;  // immutable after construction
    std::atomic<int> mStreams;                 // open event streams
};

}  // namespace dabweb

#endif  // DAB_TOOLS_DABWEB_WEBSERVER_H
