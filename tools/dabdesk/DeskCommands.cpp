#include "DeskCommands.h"

#include "ToolArgs.h"

#include "ControlClient.h"
#include "DABServerDefs.h"
#include "PlayerOperations.h"
#include "TextConversion.h"

#include <headunit/HeadUnitNames.h>

#include <cctype>
#include <climits>
#include <cstdlib>
#include <sstream>

using namespace android;
using dabclient::Notification;

namespace {

constexpr auto kCountTimeout = std::chrono::seconds(5);
constexpr auto kItemsTimeout = std::chrono::seconds(10);
constexpr auto kSearchTimeout = std::chrono::seconds(5);
constexpr int kPresetsPerBand = 6;
// The search's letter index of "no letter" (labels not starting with A to Z).
constexpr int kSearchNoLetter = 26;

std::vector<std::string> splitWords(const std::string& line) {
    std::istringstream in(line);
    std::vector<std::string> out;
    std::string w;
    while (in >> w) out.push_back(w);
    return out;
}

bool parseNumber(const std::string& text, int* out) {
    std::string unused;  // the command's own usage line says what is wrong
    return ToolArgs::parseInt(text, INT_MIN, INT_MAX, "N", out, &unused);
}

DeskCommands::Result done(const std::string& what, int result) {
    if (dabclient::isTransportError(result)) {
        return {-1, what + ": the DAB player service went away", false};
    }
    return {result == 0 ? 0 : -1, what + ": " + std::to_string(result) +
                                          (result == 0 ? "" : " (refused)"), false};
}

DeskCommands::Result usageOf(const std::string& form) { return {2, "usage: " + form, false}; }

}  // namespace

DeskCommands::DeskCommands(const sp<IDABPlayer>& player, NotificationLog* log)
    : mPlayer(player), mLog(log), mServiceListCount(0) {}

const char* DeskCommands::helpText() {
    return "seek up|down       seek the next station        step up|down   one channel\n"
           "band               next band (preset bank)      preset N       recall preset N (1-6)\n"
           "store N            store the station as preset N\n"
           "list services      read the service list        list ensembles read the ensembles\n"
           "list components N  services of ensemble N       list pty news|popular|classics|others\n"
           "scan               update the service list      more / back    page a long list\n"
           "play N             tune to entry N of the service list\n"
           "search L           first service starting with letter L\n"
           "ts on|off|pause|play|live|seek S                time-shift\n"
           "text               ask for the dynamic text     format         frequency/channel label\n"
           "hu COMMAND         head-unit simulator (activate dab, suspend, resume, restart-mm, errors)\n"
           "sim COMMAND        simulated tuner (antenna 3, signal 2, error 1, dls TEXT)\n"
           "help               this list                    quit           leave";
}

DeskCommands::Result DeskCommands::run(const std::string& line) {
    const std::vector<std::string> w = splitWords(line);
    if (w.empty()) return {0, "", false};
    const std::string& verb = w[0];
    IDABPlayer& p = *mPlayer;
    int n = 0;

    if (verb == "quit" || verb == "exit") return {0, "", true};
    if (verb == "help") return {0, helpText(), false};
    if (verb == "seek" || verb == "step") {
        if (w.size() != 2 || (w[1] != "up" && w[1] != "down")) return usageOf(verb + " up|down");
        const bool up = w[1] == "up";
        const int r = verb == "seek" ? (up ? p.presetSeekUp() : p.presetSeekDown())
                                     : (up ? p.manualUp() : p.manualDown());
        return done(line, r);
    }
    if (verb == "band") return w.size() == 1 ? done("band", p.switchBand()) : usageOf("band");
    if (verb == "preset" || verb == "store") {
        if (w.size() != 2 || !parseNumber(w[1], &n) || n < 1 || n > kPresetsPerBand) {
            return usageOf(verb + " N (1-6)");
        }
        return done(line, verb == "preset" ? p.recall(n - 1) : p.memory(n - 1));
    }
    if (verb == "list") {
        const char* form = "list services|ensembles|components N|pty news|popular|classics|others";
        if (w.size() == 2 && (w[1] == "services" || w[1] == "ensembles")) return listCommand(w[1]);
        if (w.size() == 3 && w[1] == "components" && parseNumber(w[2], &n) && n >= 1) {
            return listCommand("components", n - 1);
        }
        if (w.size() == 3 && w[1] == "pty") return listCommand(w[2]);
        return usageOf(form);
    }
    if (verb == "scan") {
        // A list update asked for by the user: the tuner runs through every channel.
        return w.size() == 1 ? done("scan", p.requestServiceListUpdate()) : usageOf("scan");
    }
    if (verb == "play") {
        if (w.size() != 2 || !parseNumber(w[1], &n) || n < 1) return usageOf("play N");
        return done(line, p.serviceListRecall(n - 1));
    }
    if (verb == "search") {
        if (w.size() != 2 || w[1].size() != 1) return usageOf("search LETTER");
        return searchCommand(w[1]);
    }
    if (verb == "ts") return timeShiftCommand(w);
    if (verb == "text") return w.size() == 1 ? done("text", p.requestDynamicText()) : usageOf("text");
    if (verb == "format") {
        return w.size() == 1 ? done("format", p.setDisplayFormat()) : usageOf("format");
    }
    if (verb == "hu" || verb == "sim") {
        if (w.size() < 2) return usageOf(verb + " COMMAND");
        const std::string rest = line.substr(line.find(verb) + verb.size());
        std::string output;
        const int status = dabclient::ControlClient::execute(
                verb == "hu" ? headunit::kControlService : headunit::kSimControlService, rest,
                false, &output);
        if (status == dabclient::ControlClient::NOT_RUNNING) {
            return {-1,
                    verb == "hu" ? ToolArgs::notRunning("the head-unit simulator",
                                                        headunit::kControlService)
                                 : ToolArgs::notRunning("the simulated tuner control",
                                                        headunit::kSimControlService),
                    false};
        }
        if (status == dabclient::ControlClient::LOST) return {-1, verb + ": connection lost", false};
        if (status == headunit::kCommandUsage) return {2, output, false};
        return {status == 0 ? 0 : -1, output, false};
    }
    return {2, "unknown command \"" + verb + "\"; type help", false};
}

bool DeskCommands::readList(const std::function<int(IDABPlayer&)>& request, int countId,
                            int itemId, ListItemGetter getter, std::vector<Item>* items,
                            std::string* error) {
    items->clear();
    const uint64_t start = mLog->lastSeq();
    const int r = request(*mPlayer);
    if (r != 0) {
        *error = dabclient::isTransportError(r) ? "the DAB player service went away"
                 : r == 1                       ? "that entry is not in the list read last"
                                                : "refused (the source is not active?)";
        return false;
    }
    NotificationLog::Entry count;
    if (!mLog->waitFor(start, [countId](const Notification& n) { return n.id == countId; },
                       kCountTimeout, &count)) {
        *error = "no list size within 5 s";
        return false;
    }
    const int size = count.n.ext1;
    if (size > 0) {
        NotificationLog::Entry last;
        if (!mLog->waitFor(start,
                           [itemId, size](const Notification& n) {
                               return n.id == itemId && n.ext1 == size - 1;
                           },
                           kItemsTimeout, &last)) {
            *error = "the list's items did not all arrive within 10 s";
            return false;
        }
    }
    for (int i = 0; i < size; ++i) {
        char label[DAB_PLAYER_LABEL_SIZE] = {};
        int code = 0;
        const int ir = ((*mPlayer).*getter)(i, label, &code);
        Item item{ir, std::string()};
        if (ir == 0) {
            const dabclient::ConvertedText t = dabclient::convertText(label, sizeof(label), code);
            item.label = t.converted ? t.utf8 : "<" + t.hex + ">";
        }
        items->push_back(item);
    }
    return true;
}

std::string DeskCommands::listText(const char* title, const std::vector<Item>& items) {
    std::ostringstream out;
    out << title << ": " << items.size() << " entries";
    for (size_t i = 0; i < items.size(); ++i) {
        out << "\n" << (i + 1) << ". "
            << (items[i].result == 0 ? items[i].label
                                     : items[i].result == 1 ? "(no label)" : "(not read)");
    }
    return out.str();
}

DeskCommands::Result DeskCommands::listCommand(const std::string& what, int arg) {
    std::vector<Item> items;
    std::string error;
    if (what == "services") {
        if (!readList([](IDABPlayer& p) { return p.requestServiceCompList(); },
                      DAB_SERVER_NOTIFY_SERVICE_COMP_LIST_COUNT_UPDATE,
                      DAB_SERVER_NOTIFY_SERVICE_COMP_LIST_ITEM_UPDATE,
                      &IDABPlayer::getServiceListItem, &items, &error)) {
            return {-1, "list services: " + error, false};
        }
        mServiceListCount = static_cast<int>(items.size());
        return {0, listText("Services", items), false};
    }
    if (what == "ensembles") {
        if (!readList([](IDABPlayer& p) { return p.requestEnsembleList(); },
                      DAB_SERVER_NOTIFY_ENSEMBLE_LIST_COUNT_UPDATE,
                      DAB_SERVER_NOTIFY_ENSEMBLE_LIST_ITEM_UPDATE, &IDABPlayer::getEnsembleListItem,
                      &items, &error)) {
            return {-1, "list ensembles: " + error, false};
        }
        // Another list replaced the cached service list.
        mServiceListCount = 0;
        return {0, listText("Ensembles", items), false};
    }
    if (what == "components") {
        if (!readList([arg](IDABPlayer& p) { return p.requestEnsembleSecondList(arg); },
                      DAB_SERVER_NOTIFY_ENSEMBLE_COMP_LIST_COUNT_UPDATE,
                      DAB_SERVER_NOTIFY_ENSEMBLE_COMP_LIST_ITEM_UPDATE,
                      &IDABPlayer::getEnsembleCompListItem, &items, &error)) {
            return {-1, "list components: " + error, false};
        }
        mServiceListCount = 0;
        return {0, listText("Components of the ensemble", items), false};
    }
    // The PTY lists: news and information, popular, classics, others.
    struct Pty {
        const char* name;
        int index;
        int countId;
        int itemId;
        ListItemGetter getter;
    };
    static const Pty kPty[] = {
            {"news", 0, DAB_SERVER_NOTIFY_PTY_NEWSINFO_LIST_COUNT_UPDATE,
             DAB_SERVER_NOTIFY_PTY_NEWSINFO_LIST_ITEM_UPDATE, &IDABPlayer::getPtyNewsinfoListItem},
            {"popular", 1, DAB_SERVER_NOTIFY_PTY_POPULAR_LIST_COUNT_UPDATE,
             DAB_SERVER_NOTIFY_PTY_POPULAR_LIST_ITEM_UPDATE, &IDABPlayer::getPtyPopularListItem},
            {"classics", 2, DAB_SERVER_NOTIFY_PTY_CLASSICS_LIST_COUNT_UPDATE,
             DAB_SERVER_NOTIFY_PTY_CLASSICS_LIST_ITEM_UPDATE, &IDABPlayer::getPtyClassicsListItem},
            {"others", 3, DAB_SERVER_NOTIFY_PTY_OTHERS_LIST_COUNT_UPDATE,
             DAB_SERVER_NOTIFY_PTY_OTHERS_LIST_ITEM_UPDATE, &IDABPlayer::getPtyOthersListItem},
    };
    for (const Pty& pty : kPty) {
        if (what != pty.name) continue;
        const int index = pty.index;
        if (!readList([index](IDABPlayer& p) { return p.requestPTYSecondList(index); }, pty.countId,
                      pty.itemId, pty.getter, &items, &error)) {
            return {-1, std::string("list pty ") + pty.name + ": " + error, false};
        }
        mServiceListCount = 0;
        return {0, listText((std::string("PTY ") + pty.name).c_str(), items), false};
    }
    return usageOf("list services|ensembles|components N|pty news|popular|classics|others");
}

DeskCommands::Result DeskCommands::searchCommand(const std::string& letterText) {
    const char c = static_cast<char>(toupper(static_cast<unsigned char>(letterText[0])));
    const int letter = (c >= 'A' && c <= 'Z') ? c - 'A' : kSearchNoLetter;
    std::string prefix;
    if (mServiceListCount == 0) {
        // The search looks in the service list, which must be complete first.
        Result list = listCommand("services");
        if (list.status != 0) return {-1, "search: " + list.text, false};
        prefix = std::to_string(mServiceListCount) + " services read\n";
    }
    const uint64_t start = mLog->lastSeq();
    // The search answers -1 whether or not it went out; its outcome comes as a notification.
    const int r = mPlayer->abcSearch(letter);
    if (dabclient::isTransportError(r)) return {-1, "search: the DAB player service went away", false};
    NotificationLog::Entry answer;
    if (!mLog->waitFor(start,
                       [](const Notification& n) {
                           return n.id == DAB_SERVER_NOTIFY_ABC_SEARCH_RESULT ||
                                  n.id == DAB_SERVER_NOTIFY_ABC_SEARCH_NOT_FOUND;
                       },
                       kSearchTimeout, &answer)) {
        return {-1, prefix + "search " + std::string(1, c) + ": no answer within 5 s", false};
    }
    if (answer.n.id == DAB_SERVER_NOTIFY_ABC_SEARCH_NOT_FOUND) {
        return {0, prefix + "search " + std::string(1, c) + ": no service found", false};
    }
    const int position = answer.n.ext1;
    char label[DAB_PLAYER_LABEL_SIZE] = {};
    int code = 0;
    std::string name = "(no label)";
    if (mPlayer->getServiceListItem(position, label, &code) == 0) {
        const dabclient::ConvertedText t = dabclient::convertText(label, sizeof(label), code);
        name = t.converted ? t.utf8 : "<" + t.hex + ">";
    }
    return {0, prefix + "search " + std::string(1, c) + ": " + std::to_string(position + 1) + ". " +
                       name + "  (play " + std::to_string(position + 1) + " tunes to it)",
            false};
}

DeskCommands::Result DeskCommands::timeShiftCommand(const std::vector<std::string>& w) {
    const char* form = "ts on|off|pause|play|live|seek S";
    if (w.size() < 2) return usageOf(form);
    IDABPlayer& p = *mPlayer;
    const std::string& what = w[1];
    if (w.size() == 2) {
        if (what == "on") return done("ts on", p.timeShift());
        if (what == "off") return done("ts off", p.toNormalView());
        if (what == "pause") return done("ts pause", p.timeShiftPause());
        if (what == "play") return done("ts play", p.timeShiftPlay());
        if (what == "live") return done("ts live", p.toLive());
    }
    int seconds = 0;
    if (w.size() == 3 && what == "seek" && parseNumber(w[2], &seconds)) {
        return done("ts seek " + w[2], p.timeSeek(seconds));
    }
    return usageOf(form);
}
