#include "RadioSnapshot.h"

#include "DABChannelTable.h"
#include "PlayerOperations.h"

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

    s.presetBand = s.band.result == 0 ? s.band.value : 1;
    for (int i = 0; i < kPresetsPerBand; ++i) {
        char buf[DAB_PLAYER_LABEL_SIZE] = {};
        int code = EN_CODE_CONVER_NONE;
        Preset& preset = s.presets[i];
        preset.result = p.getPresetListItem(s.presetBand, i, buf, &code, &preset.labelAvail);
        if (preset.result == 0) preset.label = convertText(buf, sizeof(buf), code);
    }
    return s;
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
    if (t.result != 0) return "-";
    if (t.text.converted) return t.text.utf8;
    return "<" + t.text.hex + "> (code " + std::to_string(t.code) + ", not converted)";
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
    row("Antenna / error", "antenna " + antenna + "  error " + valueText(error) + " (tuner " +
                                   valueText(realError) + ")");
    row("Time-shift", "status " + valueText(playbackStatus) + "  total " + valueText(totalTime, " s") +
                              "  cache " + valueText(cacheTime, " s") + "  play " +
                              valueText(pauseTime, " s"));
    out << "Presets of band " << presetBand << ":\n";
    for (int i = 0; i < kPresetsPerBand; ++i) {
        const Preset& p = presets[i];
        std::string label = p.result == 0 ? (p.label.converted ? p.label.utf8 : "<" + p.label.hex + ">")
                                          : (p.result == 1 ? "(empty)" : "-");
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
