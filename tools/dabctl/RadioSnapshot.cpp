#include "RadioSnapshot.h"

#include "DABChannelTable.h"
#include "PlayerOperations.h"
#include "ServiceDump.h"

#include <DABServerDefs.h>

#include <codeconver/CodeConver.h>

#include <cstdio>
#include <sstream>

using namespace android;
using json = nlohmann::ordered_json;

namespace dabclient {

namespace {

using IntQuery = int (IDABPlayer::*)(int*);
using LabelQuery = int (IDABPlayer::*)(char*, int*);

std::string valueText(const RadioSnapshot::Value& v, const char* unit = "") {
    if (v.result != 0) return "-";
    return std::to_string(v.value) + unit;
}

json valueJson(const RadioSnapshot::Value& v) {
    return v.result == 0 ? json(v.value) : json(nullptr);
}

json textJson(const RadioSnapshot::Text& t) {
    if (t.result != 0) return nullptr;
    if (t.text.converted) return t.text.utf8;
    return json{{"hex", t.text.hex}, {"code", t.code}};
}

}  // namespace

RadioSnapshot RadioSnapshot::take(IDABPlayer& p) {
    RadioSnapshot s;
    auto query = [&](Value& v, IntQuery fn) {
        v.result = (p.*fn)(&v.value);
        if (isTransportError(v.result)) s.transportFailed = true;
    };
    auto label = [&](Text& t, LabelQuery fn) {
        char buf[DAB_PLAYER_LABEL_SIZE] = {};
        t.code = EN_CODE_CONVER_NONE;
        t.result = (p.*fn)(buf, &t.code);
        if (isTransportError(t.result)) s.transportFailed = true;
        if (t.result == 0) t.text = convertText(buf, sizeof(buf), t.code);
    };
    query(s.band, &IDABPlayer::getBand);
    query(s.presetNum, &IDABPlayer::getPresetNum);
    query(s.frequency, &IDABPlayer::getFrequence);
    query(s.nm, &IDABPlayer::getNm);
    query(s.signal, &IDABPlayer::getSignalLevel);
    query(s.fmLink, &IDABPlayer::getFmLink);
    query(s.bitRate, &IDABPlayer::getBitPerSecond);
    query(s.ptyType, &IDABPlayer::getPtyType);
    query(s.compTotal, &IDABPlayer::getCompTotal);
    query(s.compNum, &IDABPlayer::getCompNum);
    query(s.logicMode, &IDABPlayer::getLogicMode);
    query(s.error, &IDABPlayer::getError);
    query(s.realError, &IDABPlayer::getRealError);
    query(s.antStatus, &IDABPlayer::getAntStatus);
    query(s.displayFormat, &IDABPlayer::getDisplayFormat);
    query(s.playbackStatus, &IDABPlayer::getPlaybackStatus);
    query(s.totalTime, &IDABPlayer::getTotalTime);
    query(s.cacheTime, &IDABPlayer::getCacheTime);
    query(s.pauseTime, &IDABPlayer::getPauseTime);

    char freq[DAB_PLAYER_LABEL_SIZE] = {};
    s.freqResult = p.getFreqString(freq);
    if (s.freqResult == 0) s.freqText = fieldText(freq, sizeof(freq));
    if (s.nm.result == 0) {
        const DAB_CHANNEL_INFO* channel = DABChannelTable::lookup(s.nm.value);
        if (channel != nullptr) s.channel = fieldText(channel->label, sizeof(channel->label));
    }

    label(s.ensemble, &IDABPlayer::getEnsembleLabel);
    label(s.service, &IDABPlayer::getServiceLabel);
    label(s.component, &IDABPlayer::getCompLabel);
    {
        char text[DAB_PLAYER_DYNAMIC_TEXT_SIZE] = {};
        int length = 0;
        s.dynamicText.code = EN_CODE_CONVER_NONE;
        s.dynamicText.result = p.getDynamicText(text, &s.dynamicText.code, &length);
        if (s.dynamicText.result == 0) {
            size_t len = sizeof(text);
            if (length > 0 && static_cast<size_t>(length) < len) {
                len = static_cast<size_t>(length) + (length & 1);
            }
            s.dynamicText.text = convertText(text, len, s.dynamicText.code);
        }
    }

    s.readPresets(p);
    return s;
}

void RadioSnapshot::readPresets(IDABPlayer& p) {
    presetBand = band.result == 0 && band.value >= 1 && band.value <= 3 ? band.value : 1;
    for (int i = 0; i < kPresetsPerBand; ++i) {
        char buf[DAB_PLAYER_LABEL_SIZE] = {};
        int code = EN_CODE_CONVER_NONE;
        Preset& preset = presets[i];
        preset.labelAvail = 0;
        preset.result = p.getPresetListItem(presetBand, i, buf, &code, &preset.labelAvail);
        if (isTransportError(preset.result)) transportFailed = true;
        preset.label = ConvertedText();
        if (preset.result == 0) preset.label = convertText(buf, sizeof(buf), code);
    }
}

namespace {

// A label the service has converted already: UTF-8, or no data when empty.
RadioSnapshot::Text convertedText(bool active, const std::string& utf8, bool hasData = true) {
    RadioSnapshot::Text t;
    if (!active) return t;
    t.result = hasData && !utf8.empty() ? 0 : 1;
    t.code = EN_CODE_CONVER_NONE;
    if (t.result == 0) {
        t.text.converted = true;
        t.text.utf8 = utf8;
    }
    return t;
}

void setValue(RadioSnapshot::Value* v, bool active, int value) {
    v->result = active ? 0 : -1;
    v->value = value;
}

void setChannel(RadioSnapshot* s, bool active, int blockId) {
    setValue(&s->nm, active, blockId);
    const DAB_CHANNEL_INFO* channel = DABChannelTable::lookup(blockId);
    s->channel.clear();
    s->freqText.clear();
    s->frequency.result = -1;
    s->freqResult = -1;
    if (channel == nullptr || channel->kHz == 0) return;
    s->channel = fieldText(channel->label, sizeof(channel->label));
    s->freqText = fieldText(channel->freqTextUnit, sizeof(channel->freqTextUnit));
    s->freqResult = 0;
    setValue(&s->frequency, active, static_cast<int>(channel->kHz));
}

// What the antenna query answers for the tuner's raw antenna state.
void setAntenna(RadioSnapshot::Value* v, bool active, int raw) {
    v->result = active && raw >= 1 && raw <= 5 ? 0 : -1;
    v->value = raw >= 3 ? 1 : 2;
}

int intOr(const json& j, int fallback) { return j.is_number_integer() ? j.get<int>() : fallback; }

}  // namespace

RadioSnapshot RadioSnapshot::fromDumpJson(const json& d) {
    RadioSnapshot s;
    const json& life = d.contains("lifecycle") ? d["lifecycle"] : json::object();
    const json& st = d.contains("station") ? d["station"] : json::object();
    const bool active = life.value("active", false);
    const int bandValue = intOr(st.value("band", json()), 0);
    setValue(&s.band, active, bandValue);
    const json preset = st.value("preset", json());
    setValue(&s.presetNum, active,
             preset.is_number_integer() && preset.get<int>() > 0 && bandValue >= 1
                     ? (bandValue - 1) * 6 + preset.get<int>() - 1
                     : -1);
    setChannel(&s, active, intOr(st.value("blockId", json()), 0));
    setValue(&s.signal, active, intOr(st.value("signalLevel", json()), 0));
    setValue(&s.fmLink, active, intOr(st.value("fmLink", json()), 0));
    setValue(&s.bitRate, active, intOr(st.value("bitRate", json()), 0));
    setValue(&s.ptyType, active, intOr(st.value("ptyType", json()), 0));
    setValue(&s.compTotal, active, intOr(st.value("compTotal", json()), 0));
    setValue(&s.compNum, active, intOr(st.value("compNum", json()), 0));
    setValue(&s.logicMode, active, intOr(st.value("logicMode", json()), 0));
    setValue(&s.error, active, intOr(st.value("errorType", json()), 0));
    s.realError = s.error;
    setAntenna(&s.antStatus, active, intOr(st.value("antStatus", json()), 0));
    setValue(&s.displayFormat, active, intOr(st.value("displayFormat", json()), 1));
    const json ts = st.value("timeShift", json::object());
    setValue(&s.playbackStatus, active, intOr(ts.value("status", json()), 0));
    setValue(&s.totalTime, active, intOr(ts.value("total", json()), -1));
    setValue(&s.cacheTime, active, intOr(ts.value("cache", json()), -1));
    setValue(&s.pauseTime, active, intOr(ts.value("pause", json()), -1));
    auto label = [&](const char* key) {
        const json l = st.value(key, json::object());
        return convertedText(active, l.value("text", std::string()));
    };
    s.ensemble = label("ensembleLabel");
    s.service = label("serviceLabel");
    s.component = label("compLabel");
    const json dls = st.value("dynamicText", json::object());
    s.dynamicText = convertedText(active, dls.value("text", std::string()), dls.value("hasData", false));
    s.presetBand = bandValue >= 1 && bandValue <= 3 ? bandValue : 1;
    return s;
}

RadioSnapshot RadioSnapshot::fromDump(IDABPlayer& p, const RadioSnapshot* previous) {
    std::string out;
    RadioSnapshot s;
    if (ServiceDump::take({"lifecycle", "station", "--json"}, &out) != ServiceDump::OK) {
        s.transportFailed = true;
        return s;
    }
    const json d = json::parse(out, nullptr, false);
    if (d.is_discarded()) {
        s.transportFailed = true;
        return s;
    }
    s = fromDumpJson(d);
    if (previous != nullptr && !previous->transportFailed && previous->presetBand == s.presetBand &&
        previous->presets[0].result != -1) {
        for (int i = 0; i < kPresetsPerBand; ++i) s.presets[i] = previous->presets[i];
    } else {
        s.readPresets(p);
    }
    return s;
}

bool RadioSnapshot::apply(const Notification& n) {
    const bool active = band.result == 0;
    switch (n.id) {
        case DAB_SERVER_NOTIFY_BAND_CHANGE:
            setValue(&band, true, n.ext1);
            return n.ext1 != presetBand;
        case DAB_SERVER_NOTIFY_FREQ_CHANGE: setChannel(this, active, n.ext1); break;
        case DAB_SERVER_NOTIFY_SIGNAL_LEVEL_CHANGE: setValue(&signal, active, n.ext1); break;
        case DAB_SERVER_NOTIFY_FM_LINK_CHANGE: setValue(&fmLink, active, n.ext1); break;
        case DAB_SERVER_NOTIFY_BPS_CHANGE: setValue(&bitRate, active, n.ext1); break;
        case DAB_SERVER_NOTIFY_PTY_TYPE_CHANGE: setValue(&ptyType, active, n.ext1); break;
        case DAB_SERVER_NOTIFY_ENSEMBLE_LABEL_CHANGE:
            if (n.hasParcel) ensemble = convertedText(active, n.text);
            break;
        case DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE:
            if (n.hasParcel) service = convertedText(active, n.text);
            break;
        case DAB_SERVER_NOTIFY_COMP_LABEL_CHANGE:
            if (n.hasParcel) component = convertedText(active, n.text);
            break;
        case DAB_SERVER_NOTIFY_COMP_TOTAL_CHANGE: setValue(&compTotal, active, n.ext1); break;
        case DAB_SERVER_NOTIFY_COMP_NUM_CHANGE: setValue(&compNum, active, n.ext1); break;
        case DAB_SERVER_NOTIFY_DYNAMIC_TEXT_UPDATE:
            dynamicText = convertedText(active, n.hasParcel ? n.text : std::string(), n.hasParcel);
            break;
        case DAB_SERVER_NOTIFY_TOTAL_TIME_CHANGE: setValue(&totalTime, active, n.ext1); break;
        case DAB_SERVER_NOTIFY_CACHE_TIME_CHANGE: setValue(&cacheTime, active, n.ext1); break;
        case DAB_SERVER_NOTIFY_PAUSE_TIME_CHANGE: setValue(&pauseTime, active, n.ext1); break;
        case DAB_SERVER_NOTIFY_PLAYBACK_STATUS_CHANGE: setValue(&playbackStatus, active, n.ext1); break;
        case DAB_SERVER_NOTIFY_ERROR_INFO_NOTIFIED:
            setValue(&error, active, n.ext1);
            realError = error;
            break;
        case DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE: setValue(&logicMode, active, n.ext1); break;
        case DAB_SERVER_NOTIFY_PRESET_NUM_CHANGE: setValue(&presetNum, active, n.ext1); break;
        case DAB_SERVER_NOTIFY_ANT_STATUS_CHANGED:
            // Activation announces itself with the antenna status.
            antStatus.result = n.ext1 == 1 || n.ext1 == 2 ? 0 : -1;
            antStatus.value = n.ext1;
            if (!active) return true;
            break;
        case DAB_SERVER_NOTIFY_PRESET_ITEM_UPDATE: return n.ext1 == presetBand;
        default: break;
    }
    return false;
}

const char* RadioSnapshot::logicModeName(int mode) {
    switch (mode) {
        case 5: return "normal";
        case 11: return "seek up";
        case 12: return "seek down";
        case 13: return "manual step";
        case 14: return "preset scan";
        case 17: return "busy";
        case 25: return "list update";
        case 27: return "list update (requested)";
        case 28: return "list update (automatic)";
        default: return "";
    }
}

std::string RadioSnapshot::display(const Text& t) {
    if (t.result == 1) return "(no data)";
    if (t.result != 0) return "(refused)";
    if (t.text.converted) return t.text.utf8;
    return "<" + t.text.hex + "> (label not convertible)";
}

std::string RadioSnapshot::display(const Preset& p) {
    if (p.result == 1) return "(empty)";
    if (p.result != 0) return "(refused)";
    if (p.label.converted) return p.label.utf8;
    return "<" + p.label.hex + "> (label not convertible)";
}

std::string RadioSnapshot::errorText(const Value& v) {
    if (v.result != 0) return "(refused)";
    switch (v.value) {
        case 0: return "none";
        case 1: return "type 1";
        case 2: return "type 2";
        default: return "unknown";
    }
}

std::string RadioSnapshot::text() const {
    std::ostringstream out;
    auto row = [&out](const char* name, const std::string& value) {
        char head[24];
        snprintf(head, sizeof(head), "%-18s ", name);
        out << head << value << "\n";
    };
    std::string state = active() ? "active" : "not active";
    if (logicMode.result == 0) {
        state += ", logic mode " + std::to_string(logicMode.value);
        const char* name = logicModeName(logicMode.value);
        if (name[0] != '\0') state += std::string(" (") + name + ")";
    }
    row("DAB radio", state);
    std::string preset = "-";
    if (presetNum.result == 0) {
        preset = presetNum.value < 0 ? "none"
                                     : "P" + std::to_string(presetNum.value % 6 + 1) + " of band " +
                                               std::to_string(presetNum.value / 6 + 1);
    }
    row("Band / preset", "band " + valueText(band) + ", preset " + preset);
    std::string channelText = channel.empty() ? "-" : channel;
    channelText += "  " + (freqResult == 0 ? freqText : std::string("-"));
    if (nm.result == 0) {
        channelText += "  (block " + std::to_string(nm.value);
        if (frequency.result == 0) channelText += ", " + std::to_string(frequency.value) + " kHz";
        channelText += ")";
    }
    row("Channel", channelText);
    row("Ensemble", display(ensemble));
    row("Service", display(service));
    std::string comp = display(component);
    if (compNum.result == 0 && compTotal.result == 0) {
        comp += "  (" + std::to_string(compNum.value) + " of " + std::to_string(compTotal.value) + ")";
    }
    row("Component", comp);
    row("Dynamic text", display(dynamicText));
    row("Reception", "signal " + valueText(signal) + "/7  FM link " + valueText(fmLink) + "  " +
                             valueText(bitRate, " kbit/s") + "  PTY " + valueText(ptyType));
    std::string antenna = "-";
    if (antStatus.result == 0) antenna = antStatus.value == 1 ? "fault" : "good";
    row("Antenna / error", "antenna " + antenna + "  error " + errorText(error));
    // Times the tuner has not given yet are -1: said, not shown.
    auto seconds = [](const Value& v) {
        return v.result == 0 && v.value < 0 ? std::string("no data") : valueText(v, " s");
    };
    row("Time-shift", "status " + valueText(playbackStatus) + "  total " + seconds(totalTime) +
                              "  cache " + seconds(cacheTime) + "  play " + seconds(pauseTime));
    out << "Presets of band " << presetBand << ":\n";
    for (int i = 0; i < kPresetsPerBand; ++i) {
        const Preset& p = presets[i];
        const std::string label = display(p);
        const bool current = presetNum.result == 0 && presetNum.value == (presetBand - 1) * 6 + i;
        out << (current ? "  > P" : "    P") << (i + 1) << "  " << label << "\n";
    }
    std::string s = out.str();
    if (!s.empty()) s.pop_back();
    return s;
}

json RadioSnapshot::toJson() const {
    json presetList = json::array();
    for (int i = 0; i < kPresetsPerBand; ++i) {
        const Preset& p = presets[i];
        json label = nullptr;
        if (p.result == 0) label = p.label.converted ? json(p.label.utf8) : json{{"hex", p.label.hex}};
        presetList.push_back({{"index", i}, {"result", p.result}, {"label", label},
                              {"labelAvail", p.labelAvail}});
    }
    return json{{"active", active()},
                {"band", valueJson(band)},
                {"presetNum", valueJson(presetNum)},
                {"logicMode", valueJson(logicMode)},
                {"blockId", valueJson(nm)},
                {"channel", channel.empty() ? json(nullptr) : json(channel)},
                {"frequency", valueJson(frequency)},
                {"freqString", freqResult == 0 ? json(freqText) : json(nullptr)},
                {"ensembleLabel", textJson(ensemble)},
                {"serviceLabel", textJson(service)},
                {"compLabel", textJson(component)},
                {"compNum", valueJson(compNum)},
                {"compTotal", valueJson(compTotal)},
                {"dynamicText", textJson(dynamicText)},
                {"signalLevel", valueJson(signal)},
                {"fmLink", valueJson(fmLink)},
                {"bitPerSecond", valueJson(bitRate)},
                {"ptyType", valueJson(ptyType)},
                {"antStatus", valueJson(antStatus)},
                {"error", valueJson(error)},
                {"realError", valueJson(realError)},
                {"displayFormat", valueJson(displayFormat)},
                {"playbackStatus", valueJson(playbackStatus)},
                {"totalTime", valueJson(totalTime)},
                {"cacheTime", valueJson(cacheTime)},
                {"pauseTime", valueJson(pauseTime)},
                {"presetBand", presetBand},
                {"presets", presetList}};
}

}  // namespace dabclient
