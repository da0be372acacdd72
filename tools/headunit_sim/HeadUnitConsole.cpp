#include "HeadUnitConsole.h"

#include <headunit/HeadUnitNames.h>
#include <headunit/NumberArg.h>
#include <mediamanager/MediaInfoParcel.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <sstream>

using namespace android;
using json = nlohmann::ordered_json;

namespace {

constexpr const char kErrorKey[] = "DABError";
constexpr size_t kDefaultRecords = 10;

// The information bar's name of a field: its writer's name without "write".
std::string fieldName(int kind) {
    const std::string writer =
            MediaInfoParcel::writerName(static_cast<MediaInfoParcel::FieldKind>(kind));
    return writer.compare(0, 5, "write") == 0 ? writer.substr(5) : writer;
}

std::string mediaStatusText(int status) {
    switch (status) {
        case 0: return "none";
        case 2: return "2 (disconnected)";
        case 3: return "3 (connected)";
        default: return std::to_string(status);
    }
}

std::vector<std::string> words(const std::string& line) {
    std::istringstream in(line);
    std::vector<std::string> out;
    std::string w;
    while (in >> w) out.push_back(w);
    return out;
}

constexpr int kMaxDowntimeMs = 600000;
constexpr int kMaxRecords = 100000;

std::string dump(const json& j) {
    return j.dump(-1, ' ', false, json::error_handler_t::replace);
}

json barJson(const SimMediaManager::SourceView& s) {
    json bar = json::object();
    for (const auto& f : s.bar) {
        if (f.first == MediaInfoParcel::FIELD_PRESET_STATION_NUMBER) {
            bar[fieldName(f.first)] = f.second.value;
        } else {
            bar[fieldName(f.first)] = f.second.text;
        }
    }
    return bar;
}

std::string padded(const std::string& s, size_t width) {
    return s.size() >= width ? s + " " : s + std::string(width - s.size(), ' ');
}

}  // namespace

HeadUnitConsole::HeadUnitConsole(const sp<SimMediaManager>& mediaManager,
                                 const sp<SimMediaData>& mediaData, const sp<SimSysCtrl>& sysCtrl,
                                 std::function<void()> onQuit)
    : mMediaManager(mediaManager), mMediaData(mediaData), mSysCtrl(sysCtrl),
      mOnQuit(std::move(onQuit)) {}

HeadUnitConsole::~HeadUnitConsole() {}

const char* HeadUnitConsole::helpText() {
    return "help                  this list\n"
           "ping                  answers pong\n"
           "status                sources, information bar, power state and the last DABError\n"
           "sources               each source: registration, activation, media status\n"
           "infobar               the information bar: the last record fields of each source\n"
           "records [N]           the last N media-info records (default 10)\n"
           "activate SOURCE       activate a source (dab, tadab); the active one is deactivated first\n"
           "deactivate SOURCE     deactivate a source\n"
           "request-info SOURCE   ask a source to publish its media information again\n"
           "restart-mm [MS]       restart the media manager; new sources are refused for MS ms\n"
           "suspend               suspend every attached module\n"
           "resume                resume every attached module\n"
           "power                 attached modules and their power state\n"
           "errors                the DABError history with time stamps\n"
           "mediadata             every published media data value\n"
           "quit                  end the simulator";
}

int HeadUnitConsole::execute(const String8& line, int flags, String8* output) {
    std::string out;
    const int status = run(std::string(line.string()), (flags & headunit::kCommandJson) != 0, &out);
    if (output != nullptr) *output = String8(out.c_str());
    return status;
}

int HeadUnitConsole::run(const std::string& line, bool asJson, std::string* output) {
    const std::vector<std::string> w = words(line);
    std::string message;
    int status = 0;
    json j = json::object();
    auto usage = [&](const std::string& text) {
        status = headunit::kCommandUsage;
        message = "usage: " + text;
    };
    const std::string verb = w.empty() ? "" : w[0];
    const size_t args = w.empty() ? 0 : w.size() - 1;

    if (verb.empty()) {
        message = "";
    } else if (verb == "help") {
        message = helpText();
    } else if (verb == "ping" && args == 0) {
        message = "pong";
    } else if ((verb == "activate" || verb == "deactivate" || verb == "request-info") &&
               args == 1) {
        if (verb == "activate") {
            status = mMediaManager->activate(w[1], &message);
        } else if (verb == "deactivate") {
            status = mMediaManager->deactivate(w[1], &message);
        } else {
            status = mMediaManager->requestMediaInfo(w[1], &message);
        }
    } else if (verb == "activate" || verb == "deactivate" || verb == "request-info") {
        usage(verb + " SOURCE");
    } else if (verb == "restart-mm" && args <= 1) {
        int downtime = 0;
        if (args == 1 && !headunit::NumberArg::parse(w[1], 0, kMaxDowntimeMs, "MS", &downtime,
                                                     &message)) {
            usage("restart-mm [MS]: " + message);
        } else {
            status = mMediaManager->restart(downtime, &message);
        }
    } else if (verb == "suspend" && args == 0) {
        status = mSysCtrl->suspendAll(&message);
    } else if (verb == "resume" && args == 0) {
        status = mSysCtrl->resumeAll(&message);
    } else if (verb == "records" && args <= 1) {
        int n = static_cast<int>(kDefaultRecords);
        if (args == 1 && !headunit::NumberArg::parse(w[1], 0, kMaxRecords, "N", &n, &message)) {
            usage("records [N]: " + message);
        } else if (asJson) {
            json list = json::array();
            for (const auto& r : mMediaManager->records(static_cast<size_t>(n))) {
                json fields = json::array();
                for (const auto& f : r.fields) {
                    if (f.kind == MediaInfoParcel::FIELD_PRESET_STATION_NUMBER) {
                        fields.push_back({{"field", fieldName(f.kind)}, {"value", f.value}});
                    } else {
                        fields.push_back({{"field", fieldName(f.kind)}, {"value", f.text.string()}});
                    }
                }
                list.push_back({{"time", r.time}, {"source", r.source}, {"fields", fields}});
            }
            j["records"] = list;
        } else {
            message = recordsText(static_cast<size_t>(n));
        }
    } else if ((verb == "sources" || verb == "infobar" || verb == "power" || verb == "errors" ||
                verb == "mediadata" || verb == "status") &&
               args == 0) {
        if (!asJson) {
            if (verb == "sources") message = sourcesText();
            if (verb == "infobar") message = infobarText();
            if (verb == "power") message = powerText();
            if (verb == "errors") message = errorsText(kErrorKey);
            if (verb == "mediadata") message = errorsText("");
            if (verb == "status") message = statusText();
        } else {
            const bool all = (verb == "status");
            if (all || verb == "sources") {
                json list = json::array();
                for (const auto& s : mMediaManager->sources()) {
                    list.push_back({{"name", s.name},
                                    {"id", s.id},
                                    {"registered", s.registered},
                                    {"registerCode", s.registerCode},
                                    {"active", s.active},
                                    {"mediaStatus", s.mediaStatus},
                                    {"records", s.records},
                                    {"createdAt", s.createdAt},
                                    {"createdAfterRestartMs", s.createdAfterRestartMs}});
                }
                j["sources"] = list;
                j["restarts"] = mMediaManager->restartCount();
            }
            if (all || verb == "infobar") {
                json bar = json::object();
                for (const auto& s : mMediaManager->sources()) bar[s.name] = barJson(s);
                j["infobar"] = bar;
            }
            if (all || verb == "power") {
                json list = json::array();
                for (const auto& m : mSysCtrl->modules()) {
                    list.push_back({{"moduleId", m.moduleId},
                                    {"flags", m.flags},
                                    {"state", SimSysCtrl::stateName(m.state)},
                                    {"resumes", m.resumes},
                                    {"suspends", m.suspends},
                                    {"since", m.since}});
                }
                j["modules"] = list;
            }
            if (verb == "errors" || verb == "mediadata") {
                json list = json::array();
                for (const auto& e : mMediaData->history(verb == "errors" ? kErrorKey : "")) {
                    list.push_back({{"time", e.time}, {"ms", e.ms}, {"key", e.key}, {"value", e.value}});
                }
                j[verb == "errors" ? "errors" : "mediadata"] = list;
            }
            if (all) {
                const auto errors = mMediaData->history(kErrorKey);
                j["lastError"] = errors.empty() ? json(nullptr)
                                                : json({{"time", errors.back().time},
                                                        {"value", errors.back().value}});
            }
        }
    } else if (verb == "quit" && args == 0) {
        message = "bye";
    } else {
        const bool known = verb == "ping" || verb == "restart-mm" || verb == "suspend" ||
                           verb == "resume" || verb == "records" || verb == "sources" ||
                           verb == "infobar" || verb == "power" || verb == "errors" ||
                           verb == "mediadata" || verb == "status" || verb == "quit";
        status = headunit::kCommandUsage;
        message = known ? "wrong arguments for " + verb + "; try help"
                        : "unknown command \"" + verb + "\"; try help";
    }

    if (asJson) {
        json out = {{"status", status}};
        if (!message.empty() || j.empty()) out["reply"] = message;
        for (auto it = j.begin(); it != j.end(); ++it) out[it.key()] = it.value();
        *output = ::dump(out);
    } else {
        *output = message;
    }
    if (verb == "quit" && status == 0 && mOnQuit) mOnQuit();
    return status;
}

std::string HeadUnitConsole::sourcesText() const {
    std::ostringstream out;
    const auto sources = mMediaManager->sources();
    if (sources.empty()) out << "no sources";
    for (const auto& s : sources) {
        if (out.tellp() > 0) out << "\n";
        out << padded(s.name, 7) << "id " << s.id << "  "
            << (s.registered ? "registered (code " + std::to_string(s.registerCode) + ")"
                             : "not registered")
            << "  " << (s.active ? "active" : "inactive") << "  media status "
            << mediaStatusText(s.mediaStatus) << "  records " << s.records << "  created "
            << s.createdAt;
        if (s.createdAfterRestartMs >= 0) {
            out << " (" << s.createdAfterRestartMs << " ms after the restart)";
        }
    }
    const int restarts = mMediaManager->restartCount();
    if (restarts > 0) out << "\nmedia manager restarts: " << restarts;
    return out.str();
}

std::string HeadUnitConsole::infobarText() const {
    std::ostringstream out;
    out << "Information bar";
    const auto sources = mMediaManager->sources();
    if (sources.empty()) out << "\n  (no sources)";
    for (const auto& s : sources) {
        out << "\n  " << s.name << ":";
        if (s.bar.empty()) out << " (nothing published)";
        for (const auto& f : s.bar) {
            out << "\n    " << padded(fieldName(f.first), 21);
            if (f.first == MediaInfoParcel::FIELD_PRESET_STATION_NUMBER) {
                out << f.second.value;
            } else {
                out << f.second.text;
            }
        }
    }
    return out.str();
}

std::string HeadUnitConsole::powerText() const {
    std::ostringstream out;
    const auto modules = mSysCtrl->modules();
    if (modules.empty()) out << "no modules attached";
    for (const auto& m : modules) {
        if (out.tellp() > 0) out << "\n";
        out << "module " << m.moduleId << "  " << SimSysCtrl::stateName(m.state) << "  (resumes "
            << m.resumes << ", suspends " << m.suspends << ", since " << m.since << ")";
    }
    return out.str();
}

std::string HeadUnitConsole::errorsText(const std::string& key) const {
    std::ostringstream out;
    const auto entries = mMediaData->history(key);
    if (entries.empty()) out << (key.empty() ? "no media data published" : "no " + key + " published");
    for (const auto& e : entries) {
        if (out.tellp() > 0) out << "\n";
        out << e.time << "  " << e.key << " = " << e.value;
    }
    return out.str();
}

std::string HeadUnitConsole::recordsText(size_t max) const {
    std::ostringstream out;
    const auto records = mMediaManager->records(max);
    if (records.empty()) out << "no media-info records";
    for (const auto& r : records) {
        if (out.tellp() > 0) out << "\n";
        out << r.time << "  " << r.source;
        for (const auto& f : r.fields) {
            out << "  " << fieldName(f.kind) << "=";
            if (f.kind == MediaInfoParcel::FIELD_PRESET_STATION_NUMBER) {
                out << f.value;
            } else {
                out << '"' << f.text.string() << '"';
            }
        }
    }
    return out.str();
}

std::string HeadUnitConsole::statusText() const {
    const auto errors = mMediaData->history(kErrorKey);
    std::string last = errors.empty() ? "none"
                                      : std::to_string(errors.back().value) + " at " +
                                                errors.back().time;
    return "Sources\n" + sourcesText() + "\n" + infobarText() + "\nPower\n" + powerText() +
           "\nLast DABError: " + last;
}
