#include "DeskView.h"

#include "ControlClient.h"
#include "NotifyNames.h"

#include <headunit/HeadUnitNames.h>

#include <algorithm>
#include <ctime>
#include <sstream>

using json = nlohmann::json;
using dabclient::RadioSnapshot;

namespace {

constexpr size_t kRecentShown = 4;
constexpr const char kNotifyPrefix[] = "DAB_SERVER_NOTIFY_";

// The code point of the UTF-8 sequence at text[i] and its length in bytes (1 for a bad byte).
uint32_t decode(const std::string& text, size_t i, size_t* len) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    size_t n = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 1;
    if (i + n > text.size()) n = 1;
    uint32_t cp = n == 1 ? c : n == 2 ? (c & 0x1F) : n == 3 ? (c & 0x0F) : (c & 0x07);
    for (size_t k = 1; k < n; ++k) cp = (cp << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
    *len = n;
    return cp;
}

// Terminal columns of one character: East Asian wide and fullwidth characters take two.
int charColumns(uint32_t cp) {
    const bool wide = (cp >= 0x1100 && cp <= 0x115F) || (cp >= 0x2E80 && cp <= 0xA4CF && cp != 0x303F) ||
                      (cp >= 0xAC00 && cp <= 0xD7A3) || (cp >= 0xF900 && cp <= 0xFAFF) ||
                      (cp >= 0xFE30 && cp <= 0xFE4F) || (cp >= 0xFF00 && cp <= 0xFF60) ||
                      (cp >= 0xFFE0 && cp <= 0xFFE6) || (cp >= 0x20000 && cp <= 0x3FFFD);
    return wide ? 2 : 1;
}

// Terminal columns of UTF-8 text.
size_t columns(const std::string& s) {
    size_t n = 0;
    for (size_t i = 0; i < s.size();) {
        size_t len = 1;
        n += static_cast<size_t>(charColumns(decode(s, i, &len)));
        i += len;
    }
    return n;
}

std::string timeOfDay() {
    time_t now = time(nullptr);
    struct tm local;
    localtime_r(&now, &local);
    char buf[16];
    strftime(buf, sizeof(buf), "%H:%M:%S", &local);
    return buf;
}

std::string valueOr(const RadioSnapshot::Value& v, const std::string& unit = "") {
    return v.result == 0 ? std::to_string(v.value) + unit : "(refused)";
}

// A time the service has not had from the tuner yet is -1: said, not shown.
std::string timeOr(const RadioSnapshot::Value& v) {
    if (v.result != 0) return "(refused)";
    return v.value < 0 ? "no data" : std::to_string(v.value) + " s";
}

std::string rule(const std::string& title, int width) {
    std::string s = "--- " + title + " ";
    const int used = static_cast<int>(columns(s));
    if (used < width) s += std::string(static_cast<size_t>(width - used), '-');
    return s;
}

std::string twoColumns(const std::string& left, const std::string& right, int width) {
    const int leftWidth = width * 3 / 5;
    return DeskView::fit(left, leftWidth) + right;
}

std::string jsonText(const json& j) {
    if (j.is_string()) return j.get<std::string>();
    if (j.is_number_integer()) return std::to_string(j.get<long long>());
    return "";
}

// "12. Kinderfunk": an entry of a list result.
bool isListEntry(const std::string& line) {
    size_t i = 0;
    while (i < line.size() && line[i] >= '0' && line[i] <= '9') ++i;
    return i > 0 && line.compare(i, 2, ". ") == 0;
}

// Lays a long result (a list) out in columns below its leading lines; a list longer than the
// room is shown a page at a time (*page is clamped), with a last line saying which and how to
// turn it.
std::vector<std::string> flowIntoColumns(const std::vector<std::string>& result, int width,
                                         int room, int* page) {
    std::vector<std::string> out;
    size_t titles = 0;
    while (titles < result.size() && !isListEntry(result[titles])) ++titles;
    if (static_cast<int>(titles) >= room) titles = static_cast<size_t>(room > 1 ? room - 1 : 0);
    for (size_t i = 0; i < titles; ++i) out.push_back(result[i]);
    int rows = room - static_cast<int>(titles);
    if (rows <= 0) return out;
    const std::vector<std::string> items(result.begin() + static_cast<std::ptrdiff_t>(titles),
                                         result.end());
    size_t widest = 0;
    for (const std::string& item : items) widest = std::max(widest, columns(item));
    const int columnWidth = static_cast<int>(widest) + 2;
    const int perLine = std::max(1, width / std::max(1, columnWidth));
    const int total = static_cast<int>(items.size());
    const bool paged = total > rows * perLine;
    if (paged && rows > 1) --rows;  // the last row tells the page
    const int perPage = std::max(1, rows * perLine);
    const int pages = std::max(1, (total + perPage - 1) / perPage);
    *page = std::max(0, std::min(*page, pages - 1));
    const int first = paged ? *page * perPage : 0;
    const int shown = std::min(perPage, total - first);
    const int usedRows = std::min(rows, (shown + perLine - 1) / perLine);
    for (int row = 0; row < usedRows; ++row) {
        std::string line;
        for (int col = 0; col < perLine; ++col) {
            const int index = col * usedRows + row;
            if (index < shown) {
                line += DeskView::fit(items[static_cast<size_t>(first + index)], columnWidth);
            }
        }
        out.push_back(line);
    }
    if (paged) {
        out.push_back("page " + std::to_string(*page + 1) + " of " + std::to_string(pages) +
                      " (entries " + std::to_string(first + 1) + "-" +
                      std::to_string(first + shown) + " of " + std::to_string(total) +
                      "): more, back");
    }
    return out;
}

std::string timeShiftState(const RadioSnapshot::Value& v) {
    if (v.result != 0) return "-";
    switch (v.value) {
        case 1: return "live";
        case 2: return "behind live";
        case 4: return "paused";
        case 0: return "off";
        default: return "status " + std::to_string(v.value);
    }
}

}  // namespace

DeskView::DeskView() : mHaveRadio(false) {}

const json* DeskView::dabSource() const {
    if (!mHeadUnit.is_object() || !mHeadUnit.contains("sources")) return nullptr;
    for (const json& s : mHeadUnit["sources"]) {
        if (s.value("name", std::string()) == "dab") return &s;
    }
    return nullptr;
}

void DeskView::loadRadioFromDump(android::IDABPlayer& player) {
    mRadio = RadioSnapshot::fromDump(player, mHaveRadio ? &mRadio : nullptr);
    mHaveRadio = true;
}

void DeskView::applyNotification(android::IDABPlayer& player, const dabclient::Notification& n) {
    if (mRadio.apply(n)) mRadio.readPresets(player);
}

bool DeskView::catchUp(android::IDABPlayer& player, const NotificationLog& log,
                       uint64_t* seenSeq) {
    // More than a screen's worth of catching up costs more than one dump.
    constexpr size_t kBatch = 256;
    const std::vector<NotificationLog::Entry> fresh = log.recent(kBatch);
    if (fresh.empty() || fresh.back().seq <= *seenSeq) return true;
    if (fresh.front().seq > *seenSeq + 1) return false;
    for (const NotificationLog::Entry& e : fresh) {
        if (e.seq <= *seenSeq) continue;
        applyNotification(player, e.n);
        *seenSeq = e.seq;
    }
    return true;
}

void DeskView::refreshHeadUnit() {
    std::string out;
    const int status =
            dabclient::ControlClient::execute(headunit::kControlService, "status", true, &out);
    mHeadUnit = nullptr;
    if (status != 0) return;
    json parsed = json::parse(out, nullptr, false);
    if (!parsed.is_discarded() && parsed.is_object()) mHeadUnit = parsed;
}

std::string DeskView::fit(const std::string& text, int width) {
    if (width <= 0) return "";
    std::string out;
    int used = 0;
    size_t i = 0;
    while (i < text.size()) {
        size_t len = 1;
        const uint32_t cp = decode(text, i, &len);
        const int cols = charColumns(cp);
        if (used + cols > width) break;
        // Control characters would move the cursor: shown as blanks.
        if (cp < 0x20 || cp == 0x7F) {
            out += ' ';
        } else {
            out.append(text, i, len);
        }
        used += cols;
        i += len;
    }
    if (used < width) out.append(static_cast<size_t>(width - used), ' ');
    return out;
}

std::vector<std::string> DeskView::render(int width, int height) const {
    std::vector<std::string> lines;
    const RadioSnapshot& r = mRadio;
    // Whether the source is active is the media manager's word: after its restart the service
    // may still think itself active while the head unit has no active source.
    std::string state;
    const json* dab = dabSource();
    if (dab != nullptr) {
        state = dab->value("active", false) ? "DAB source active" : "DAB source inactive";
    } else {
        state = !mHaveRadio ? "connecting" : (r.active() ? "DAB source active" : "not active");
    }
    if (mHaveRadio && r.logicMode.result == 0) {
        const char* name = RadioSnapshot::logicModeName(r.logicMode.value);
        state += std::string(", mode ") + (name[0] != '\0' ? name : std::to_string(r.logicMode.value).c_str());
    }
    lines.push_back(twoColumns("DAB head unit on the desk  " + timeOfDay(), state, width));
    lines.push_back(std::string(static_cast<size_t>(width), '-'));

    std::string preset = "-";
    if (r.presetNum.result == 0) {
        preset = r.presetNum.value < 0 ? "no preset"
                                       : "preset P" + std::to_string(r.presetNum.value % 6 + 1) +
                                                 " of band " + std::to_string(r.presetNum.value / 6 + 1);
    } else if (r.band.result == 0) {
        preset = "band " + std::to_string(r.band.value);
    }
    lines.push_back(twoColumns("Service    " + RadioSnapshot::display(r.service), preset, width));
    std::string channel = (r.channel.empty() ? "-" : r.channel) + "  " +
                          (r.freqResult == 0 ? r.freqText : std::string("-"));
    lines.push_back(twoColumns("Ensemble   " + RadioSnapshot::display(r.ensemble), channel, width));
    std::string comp = RadioSnapshot::display(r.component);
    if (r.compNum.result == 0 && r.compTotal.result == 0 && r.compNum.value > 0 &&
        r.compTotal.value > 0) {
        comp += " (" + std::to_string(r.compNum.value) + " of " + std::to_string(r.compTotal.value) + ")";
    }
    lines.push_back("Component  " + comp);
    const std::string text = RadioSnapshot::display(r.dynamicText);
    const int textWidth = width - 11;
    lines.push_back("Text       " + fit(text, textWidth));
    if (static_cast<int>(columns(text)) > textWidth) {
        // The rest of a long text on a second line: cut where fit() cut it.
        std::string rest;
        int used = 0;
        for (size_t i = 0; i < text.size();) {
            size_t len = 1;
            const int cols = charColumns(decode(text, i, &len));
            if (used + cols > textWidth) {
                rest = text.substr(i);
                break;
            }
            used += cols;
            i += len;
        }
        lines.push_back("           " + rest);
    }
    std::string bars = "-------";
    if (r.signal.result == 0) {
        for (int i = 0; i < 7; ++i) bars[static_cast<size_t>(i)] = i < r.signal.value ? '#' : '.';
    }
    std::string antenna = r.antStatus.result != 0 ? "-" : (r.antStatus.value == 1 ? "FAULT" : "good");
    lines.push_back("Signal     " + bars + " " + valueOr(r.signal) + "/7  " + valueOr(r.bitRate, " kbit/s") +
                    "  PTY " + valueOr(r.ptyType) + "  antenna " + antenna + "  error " +
                    RadioSnapshot::errorText(r.error));
    lines.push_back("Time-shift " + timeShiftState(r.playbackStatus) + "  total " +
                    timeOr(r.totalTime) + "  cache " + timeOr(r.cacheTime) + "  play " +
                    timeOr(r.pauseTime));
    for (int row = 0; row < 2; ++row) {
        std::string line = row == 0 ? "Presets " + std::to_string(r.presetBand) + "  " : "           ";
        for (int i = row * 3; i < row * 3 + 3; ++i) {
            const RadioSnapshot::Preset& p = r.presets[i];
            const bool current =
                    r.presetNum.result == 0 && r.presetNum.value == (r.presetBand - 1) * 6 + i;
            const std::string label = RadioSnapshot::display(p);
            line += fit(std::string(current ? ">" : " ") + std::to_string(i + 1) + " " + label,
                        (width - 11) / 3);
        }
        lines.push_back(line);
    }

    lines.push_back(rule("Information bar (media manager)", width));
    if (mHeadUnit.is_null()) {
        lines.push_back("the head-unit simulator does not answer");
    } else {
        const json& sources = mHeadUnit.value("sources", json::array());
        const json& bar = mHeadUnit.value("infobar", json::object());
        if (sources.empty()) lines.push_back("no sources registered");
        for (const json& s : sources) {
            const std::string name = s.value("name", "");
            const int status = s.value("mediaStatus", 0);
            std::string head = name + " (" + (s.value("active", false) ? "active" : "inactive") +
                               (status == 3 ? ", connected" : status == 2 ? ", disconnected" : "") +
                               ")";
            const json fields = bar.value(name, json::object());
            if (fields.empty()) {
                lines.push_back(head + "  nothing published");
                continue;
            }
            std::string line = head + "  " + jsonText(fields.value("MediaSourceID", json())) + " | " +
                               jsonText(fields.value("SrcNameForVA", json())) + " | " +
                               jsonText(fields.value("DABLabel", json()));
            if (fields.contains("PresetStationNumber")) {
                line += " | preset " + jsonText(fields["PresetStationNumber"]);
            }
            lines.push_back(line);
            if (fields.contains("DynamicText")) {
                lines.push_back("    text: " + jsonText(fields["DynamicText"]));
            }
        }
        std::string power = "Power: ";
        const json& modules = mHeadUnit.value("modules", json::array());
        if (modules.empty()) power += "no module attached";
        for (const json& m : modules) {
            power += "module " + std::to_string(m.value("moduleId", 0)) + " " +
                     m.value("state", std::string("?")) + "  ";
        }
        const json& last = mHeadUnit.value("lastError", json());
        power += "   Last DABError: " +
                 (last.is_object() ? jsonText(last.value("value", json())) + " at " +
                                             last.value("time", std::string())
                                   : std::string("none"));
        lines.push_back(power);
    }

    std::vector<std::string> notes;
    notes.push_back(rule("Notifications", width));
    const size_t first = mRecent.size() > kRecentShown ? mRecent.size() - kRecentShown : 0;
    for (size_t i = first; i < mRecent.size(); ++i) {
        const dabclient::Notification& n = mRecent[i].n;
        const char* full = dabclient::notifyName(n.id);
        std::string name = full != nullptr ? full : "UNKNOWN";
        if (name.compare(0, sizeof(kNotifyPrefix) - 1, kNotifyPrefix) == 0) {
            name = name.substr(sizeof(kNotifyPrefix) - 1);
        }
        std::string line = "#" + std::to_string(mRecent[i].seq) + " " + name + " " +
                           std::to_string(n.ext1);
        if (n.ext2 != 0) line += " " + std::to_string(n.ext2);
        if (n.hasParcel) line += " \"" + n.text + "\"";
        notes.push_back(line);
    }
    for (size_t i = mRecent.size() - first; i < kRecentShown; ++i) notes.push_back("");

    std::vector<std::string> result;
    result.push_back(rule("Result", width));
    std::istringstream in(mResult);
    std::string l;
    while (std::getline(in, l)) result.push_back(l);
    if (height > 0) {
        // A long result (a list) takes the room of the notifications.
        int room = height - static_cast<int>(lines.size() + notes.size()) - 1;
        if (static_cast<int>(result.size()) - 1 > room) {
            notes.clear();
            room = height - static_cast<int>(lines.size()) - 1;
        }
        std::vector<std::string> body(result.begin() + 1, result.end());
        if (room <= 0) {
            body.clear();
        } else if (static_cast<int>(body.size()) > room) {
            body = flowIntoColumns(body, width, room, &mResultPage);
        }
        result.resize(1);
        result.insert(result.end(), body.begin(), body.end());
    }
    lines.insert(lines.end(), notes.begin(), notes.end());
    lines.insert(lines.end(), result.begin(), result.end());
    for (std::string& line : lines) {
        line = fit(line, width);
        line.erase(line.find_last_not_of(' ') + 1);
    }
    return lines;
}
