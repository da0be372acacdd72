#include "WebServer.h"

#include "ControlClient.h"
#include "PlayerOperations.h"
#include "WebAssets.h"

#include <headunit/HeadUnitNames.h>
#include <httplib.h>

#include <climits>
#include <cstdio>

using json = nlohmann::ordered_json;

namespace dabweb {

namespace {

constexpr auto kStreamWait = std::chrono::milliseconds(15000);  // then a keep-alive comment
constexpr size_t kEventsPerWrite = 256;
constexpr auto kListTimeout = std::chrono::milliseconds(15000);
constexpr size_t kMaxSimArgs = 8;
constexpr size_t kMaxSimArgLength = 200;
constexpr const char kNotRunning[] = "radio service not running";

void reply(httplib::Response& res, int status, const json& body) {
    res.status = status;
    res.set_header("Cache-Control", "no-store");
    res.set_content(body.dump(-1, ' ', false, json::error_handler_t::replace), "application/json");
}

void fail(httplib::Response& res, int status, const std::string& problem) {
    reply(res, status, json{{"error", problem}});
}

// The request's {"args": [...]}: an empty body means no arguments. False with the answer
// already written for anything else.
bool parseArgs(const httplib::Request& req, httplib::Response& res, json* args) {
    *args = json::array();
    if (req.body.find_first_not_of(" \t\r\n") == std::string::npos) return true;
    json body;
    try {
        body = json::parse(req.body);
    } catch (const json::parse_error& e) {
        fail(res, 400, std::string("malformed JSON: ") + e.what());
        return false;
    }
    if (!body.is_object()) {
        fail(res, 400, "the body must be a JSON object like {\"args\":[...]}");
        return false;
    }
    for (auto it = body.begin(); it != body.end(); ++it) {
        if (it.key() != "args") {
            fail(res, 400, "unknown key \"" + it.key() + "\" (only \"args\")");
            return false;
        }
    }
    if (body.contains("args")) {
        if (!body["args"].is_array()) {
            fail(res, 400, "\"args\" must be an array");
            return false;
        }
        *args = body["args"];
    }
    return true;
}

bool intValue(const json& v, int* out) {
    if (v.is_number_integer() && !v.is_number_unsigned()) {
        const int64_t x = v.get<int64_t>();
        if (x < INT_MIN || x > INT_MAX) return false;
        *out = static_cast<int>(x);
        return true;
    }
    if (v.is_number_unsigned()) {
        const uint64_t x = v.get<uint64_t>();
        if (x > static_cast<uint64_t>(INT_MAX)) return false;
        *out = static_cast<int>(x);
        return true;
    }
    return false;
}

std::string argList(const dabclient::PlayerOperation& op) {
    std::string s;
    for (const char* a : op.args) s += (s.empty() ? "" : ", ") + std::string(a);
    return s;
}

}  // namespace

WebServer::WebServer(RadioModel& model, EventHub& hub, RadioLink& link)
    : mModel(model), mHub(hub), mLink(link), mServer(new httplib::Server()), mStreams(0) {
    mServer->new_task_queue = [] { return new httplib::ThreadPool(kWorkerThreads); };
    mServer->set_payload_max_length(kMaxBody);
    mServer->set_read_timeout(5, 0);
    mServer->set_write_timeout(5, 0);
    mServer->set_tcp_nodelay(true);
    routes();
}

WebServer::~WebServer() { stop(); }

bool WebServer::bind(const std::string& address, int* port, std::string* error) {
    if (*port == 0) {
        const int bound = mServer->bind_to_any_port(address.c_str());
        if (bound > 0) {
            *port = bound;
            return true;
        }
    } else if (mServer->bind_to_port(address.c_str(), *port)) {
        return true;
    }
    *error = "cannot listen on " + address + " port " + std::to_string(*port);
    return false;
}

void WebServer::serve() { mServer->listen_after_bind(); }

void WebServer::stop() {
    mHub.close();
    mServer->stop();
}

void WebServer::routes() {
    httplib::Server& s = *mServer;
    s.Get(R"(/|/index\.html|/app\.js|/style\.css)", [](const httplib::Request& req, httplib::Response& res) {
        const WebAsset* asset = findAsset(req.path == "/" ? "/index.html" : req.path);
        if (asset == nullptr) return fail(res, 404, "not found");
        res.set_header("Cache-Control", "no-cache");
        res.set_content(reinterpret_cast<const char*>(asset->data), asset->size, asset->type);
    });
    s.Get("/api/state", [this](const httplib::Request&, httplib::Response& res) {
        reply(res, 200, mModel.state());
    });
    s.Get("/api/ops", [](const httplib::Request&, httplib::Response& res) {
        json ops = json::array();
        for (const dabclient::PlayerOperation& op : dabclient::playerOperations()) {
            ops.push_back({{"op", op.name}, {"args", op.args}});
        }
        reply(res, 200, ops);
    });
    s.Get("/api/events", [this](const httplib::Request& req, httplib::Response& res) {
        handleEvents(req, res);
    });
    s.Post(R"(/api/call/([^/]*))", [this](const httplib::Request& req, httplib::Response& res) {
        handleCall(req, res);
    });
    s.Get(R"(/api/list/([^/]*))", [this](const httplib::Request& req, httplib::Response& res) {
        handleList(req, res);
    });
    s.Post(R"(/api/sim/([^/]*))", [this](const httplib::Request& req, httplib::Response& res) {
        handleSim(req, res);
    });
    // Whatever no route answered (unknown path, wrong method, oversized body) gets a JSON
    // error of its own status.
    s.set_error_handler([](const httplib::Request& req, httplib::Response& res) {
        if (!res.body.empty()) return;
        const int status = res.status;
        std::string problem = status == 413 ? "request body larger than " + std::to_string(kMaxBody) + " bytes"
                                            : status == 404 ? "no such path " + req.path
                                                            : "request refused";
        fail(res, status, problem);
    });
    s.set_exception_handler([](const httplib::Request&, httplib::Response& res, std::exception_ptr) {
        fail(res, 500, "internal error");
    });
}

void WebServer::handleEvents(const httplib::Request&, httplib::Response& res) {
    if (++mStreams > kMaxStreams) {
        --mStreams;
        return fail(res, 503, "too many event streams");
    }
    // The state first, then every event from this point on: an event that races with the
    // state is applied twice, which changes nothing, instead of being lost.
    auto next = std::make_shared<uint64_t>(mHub.nextSeq());
    auto first = std::make_shared<std::string>(
            "retry: 1000\nevent: state\ndata: " +
            mModel.state().dump(-1, ' ', false, json::error_handler_t::replace) + "\n\n");
    res.set_header("Cache-Control", "no-store");
    res.set_header("X-Accel-Buffering", "no");
    res.set_chunked_content_provider(
            "text/event-stream",
            [this, next, first](size_t, httplib::DataSink& sink) {
                if (!first->empty()) {
                    std::string text;
                    text.swap(*first);
                    return sink.write(text.data(), text.size());
                }
                std::string out;
                switch (mHub.waitFrom(next.get(), kStreamWait, kEventsPerWrite, &out)) {
                    case EventHub::kEvents: return sink.is_writable() && sink.write(out.data(), out.size());
                    case EventHub::kTimeout: {
                        static const char kKeepAlive[] = ": keep-alive\n\n";
                        return sink.is_writable() && sink.write(kKeepAlive, sizeof(kKeepAlive) - 1);
                    }
                    case EventHub::kBehind: {
                        // The browser reconnects and starts again from the state.
                        static const char kBehindText[] = "event: behind\ndata: {}\n\n";
                        sink.write(kBehindText, sizeof(kBehindText) - 1);
                        return false;
                    }
                    case EventHub::kClosed: return false;
                }
                return false;
            },
            [this](bool) { --mStreams; });
}

void WebServer::handleCall(const httplib::Request& req, httplib::Response& res) {
    const std::string name = req.matches[1];
    const dabclient::PlayerOperation* op = dabclient::findOperation(name);
    if (op == nullptr) return fail(res, 404, "unknown operation \"" + name + "\"");
    json args;
    if (!parseArgs(req, res, &args)) return;
    if (args.size() != op->args.size()) {
        return fail(res, 400, std::string(op->name) + " takes " + std::to_string(op->args.size()) +
                                      " argument" + (op->args.size() == 1 ? "" : "s") +
                                      (op->args.empty() ? "" : " (" + argList(*op) + ")") + ", got " +
                                      std::to_string(args.size()));
    }
    std::vector<int> values;
    for (size_t i = 0; i < args.size(); ++i) {
        int v = 0;
        if (!intValue(args[i], &v)) {
            return fail(res, 400, std::string(op->name) + ": argument " + std::to_string(i + 1) + " (" +
                                          op->args[i] + ") must be an integer, got " +
                                          args[i].dump(-1, ' ', false, json::error_handler_t::replace));
        }
        values.push_back(v);
    }
    android::sp<android::IDABPlayer> player = mLink.player();
    if (player == nullptr) return fail(res, 503, kNotRunning);
    const dabclient::OpResult r = op->call(*player, values);
    if (dabclient::isTransportError(r.result)) return fail(res, 503, kNotRunning);
    json outputs = json::object();
    for (const dabclient::OpOutput& o : r.outputs) dabclient::addOutputJson(&outputs, o);
    reply(res, 200, json{{"op", op->name}, {"result", r.result}, {"outputs", outputs}});
}

void WebServer::handleList(const httplib::Request& req, httplib::Response& res) {
    const std::string name = req.matches[1];
    const RadioModel::ListKind* kind = RadioModel::findList(name);
    if (kind == nullptr) {
        size_t n = 0;
        const RadioModel::ListKind* kinds = RadioModel::listKinds(&n);
        std::string names;
        for (size_t i = 0; i < n; ++i) names += (i == 0 ? "" : ", ") + std::string(kinds[i].name);
        return fail(res, 404, "unknown list \"" + name + "\" (" + names + ")");
    }
    // The PTY lists share one request with the list's number; the components of an ensemble
    // name the ensemble's position in the ensemble list.
    std::vector<int> args;
    if (name == "news") args = {0};
    if (name == "popular") args = {1};
    if (name == "classics") args = {2};
    if (name == "others") args = {3};
    if (name == "ensemble") {
        int index = -1;
        const std::string text = req.get_param_value("index");
        if (text.empty() || text.size() > 6 || text.find_first_not_of("0123456789") != std::string::npos) {
            return fail(res, 400, "list \"ensemble\" needs ?index=N, the ensemble's position from 0");
        }
        index = std::stoi(text);
        args = {index};
    }
    android::sp<android::IDABPlayer> player = mLink.player();
    if (player == nullptr) return fail(res, 503, kNotRunning);
    const dabclient::PlayerOperation* request = dabclient::findOperation(kind->request);
    mModel.clearList(*kind);
    const dabclient::OpResult r = request->call(*player, args);
    if (dabclient::isTransportError(r.result)) return fail(res, 503, kNotRunning);
    if (r.result != 0) {
        return fail(res, 409, std::string(kind->request) + " answered " + std::to_string(r.result) +
                                      (name == "ensemble" ? " (read the ensemble list first)" : ""));
    }
    json list;
    if (!mModel.waitForList(*kind, kListTimeout, &list)) {
        return fail(res, 504, "the list did not arrive complete within 15 s");
    }
    reply(res, 200, json{{"list", name}, {"count", list["count"]}, {"items", list["items"]}});
}

void WebServer::handleSim(const httplib::Request& req, httplib::Response& res) {
    const std::string command = req.matches[1];
    if (command.empty() || command.size() > 32 || command.find_first_not_of("abcdefghijklmnopqrstuvwxyz") != std::string::npos) {
        return fail(res, 404, "unknown simulator command \"" + command.substr(0, 32) + "\"");
    }
    json args;
    if (!parseArgs(req, res, &args)) return;
    if (args.size() > kMaxSimArgs) return fail(res, 400, "at most 8 arguments");
    std::string line = command;
    for (size_t i = 0; i < args.size(); ++i) {
        std::string text;
        int v = 0;
        if (intValue(args[i], &v)) {
            text = std::to_string(v);
        } else if (args[i].is_string()) {
            text = args[i].get<std::string>();
        } else {
            return fail(res, 400, "argument " + std::to_string(i + 1) + " must be a string or an integer");
        }
        if (text.size() > kMaxSimArgLength) {
            return fail(res, 400, "argument " + std::to_string(i + 1) + " longer than 200 bytes");
        }
        for (unsigned char c : text) {
            if (c < 0x20 || c == 0x7f) {
                return fail(res, 400, "argument " + std::to_string(i + 1) + " holds a control character");
            }
        }
        line += " " + text;
    }
    std::string output;
    const int status = dabclient::ControlClient::execute(headunit::kSimControlService, line, false, &output);
    if (status == dabclient::ControlClient::NOT_RUNNING || status == dabclient::ControlClient::LOST) {
        return fail(res, 503, "the simulated tuner is not running");
    }
    if (status != 0) return fail(res, 400, output);
    reply(res, 200, json{{"status", status}, {"output", output}});
}

}  // namespace dabweb
