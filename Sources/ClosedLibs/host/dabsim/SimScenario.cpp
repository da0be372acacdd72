#include "SimScenario.h"

#include "SimCharset.h"
#include "SimWorld.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>

namespace media_lib_dab {

namespace {

using Json = nlohmann::json;

// Walks the parsed document; the first problem found ends the walk and is kept in mError.
class Reader {
public:
    explicit Reader(const std::string& path) : mPath(path) {}

    const std::string& error() const { return mError; }

    bool fail(const std::string& place, const std::string& problem) {
        if (mError.empty()) mError = mPath + ": " + place + ": " + problem;
        return false;
    }

    bool expectObject(const Json& j, const std::string& place) {
        return j.is_object() ? true : fail(place, "expected an object");
    }

    bool checkKeys(const Json& obj, const std::string& place, std::initializer_list<const char*> allowed) {
        for (auto it = obj.begin(); it != obj.end(); ++it) {
            bool known = false;
            for (const char* key : allowed) known = known || it.key() == key;
            if (!known) return fail(place, "unknown key \"" + it.key() + "\"");
        }
        return true;
    }

    // An integer member in [min, max]; "0x..." strings are accepted for identifiers.
    bool readInt(const Json& obj, const char* key, const std::string& place, int64_t min, int64_t max,
                 bool required, int64_t* out) {
        std::string where = place.empty() ? key : place + "." + key;
        auto it = obj.find(key);
        if (it == obj.end()) return required ? fail(place.empty() ? "top level" : place,
                                                    std::string("missing key \"") + key + "\"")
                                             : true;
        int64_t v = 0;
        if (it->is_number_integer()) {
            v = it->get<int64_t>();
        } else if (it->is_string()) {
            const std::string s = it->get<std::string>();
            char* end = nullptr;
            errno = 0;
            long long parsed = strtoll(s.c_str(), &end, 0);
            if (s.empty() || end == nullptr || *end != '\0' || errno != 0) {
                return fail(where, "expected an integer, got \"" + s + "\"");
            }
            v = parsed;
        } else {
            return fail(where, "expected an integer");
        }
        if (v < min || v > max) {
            return fail(where, std::to_string(v) + " outside " + std::to_string(min) + ".." + std::to_string(max));
        }
        *out = v;
        return true;
    }

    bool readBlock(const Json& obj, const std::string& place, bool required, int* out) {
        std::string where = place + ".block";
        auto it = obj.find("block");
        if (it == obj.end()) return required ? fail(place, "missing key \"block\"") : true;
        if (!it->is_number_integer()) return fail(where, "expected an integer");
        int64_t v = it->get<int64_t>();
        if (v < SimWorld::kFirstBlock || v > SimWorld::kLastBlock) {
            return fail(where, "block id " + std::to_string(v) + " outside 13..76");
        }
        *out = static_cast<int>(v);
        return true;
    }

    bool readCharset(const Json& obj, const char* key, const std::string& place, int fallback, int* out) {
        int64_t v = fallback;
        if (!readInt(obj, key, place, INT32_MIN, INT32_MAX, false, &v)) return false;
        if (!SimCharset::isSupported(static_cast<int>(v))) {
            return fail(place + "." + key,
                        "charset " + std::to_string(v) + " is not 1 (EBU Latin), 7 (UTF-8) or 8 (UCS-2)");
        }
        *out = static_cast<int>(v);
        return true;
    }

    // "label" (string or null, absent = not broadcast) in the charset given by "charset".
    bool readLabel(const Json& obj, const std::string& place, int charset, SimWorld::Label* out) {
        auto it = obj.find("label");
        if (it == obj.end() || it->is_null()) return true;
        if (!it->is_string()) return fail(place + ".label", "expected a string or null");
        std::string why;
        if (!SimWorld::makeLabel(it->get<std::string>(), charset, out, &why)) return fail(place + ".label", why);
        return true;
    }

    bool readComponent(const Json& j, const std::string& place, int charset, SimWorld::Component* out) {
        if (!expectObject(j, place) || !checkKeys(j, place, {"scid", "label", "charset"})) return false;
        int64_t scid = 0;
        int cs = charset;
        if (!readInt(j, "scid", place, 0, 255, true, &scid)) return false;
        if (!readCharset(j, "charset", place, charset, &cs)) return false;
        out->scid = static_cast<uint32_t>(scid);
        return readLabel(j, place, cs, &out->label);
    }

    bool readService(const Json& j, const std::string& place, SimWorld::Service* out) {
        if (!expectObject(j, place)) return false;
        if (!checkKeys(j, place, {"sid", "label", "charset", "pty", "bitRate", "fmLink", "components",
                                  "dynamicText", "dynamicTextCharset"})) {
            return false;
        }
        int64_t sid = 0, pty = 0, bitRate = 128, fmLink = 1;
        int charset = SimCharset::kEbuLatin;
        if (!readInt(j, "sid", place, 0, 0xFFFFFFFFLL, true, &sid) ||
            !readCharset(j, "charset", place, charset, &charset) ||
            !readInt(j, "pty", place, 0, 31, false, &pty) ||
            !readInt(j, "bitRate", place, 0, 1024, false, &bitRate) ||
            !readInt(j, "fmLink", place, 1, 3, false, &fmLink)) {
            return false;
        }
        out->sid = static_cast<uint32_t>(sid);
        out->pty = static_cast<int>(pty);
        out->bitRate = static_cast<int>(bitRate);
        out->fmLink = static_cast<int>(fmLink);
        if (!readLabel(j, place, charset, &out->label)) return false;

        auto comps = j.find("components");
        if (comps == j.end()) {
            out->components.push_back(SimWorld::Component{0, out->label});
        } else {
            if (!comps->is_array()) return fail(place + ".components", "expected an array");
            if (comps->empty()) return fail(place + ".components", "a service needs at least one component");
            std::set<uint32_t> seen;
            for (size_t i = 0; i < comps->size(); ++i) {
                std::string cplace = place + ".components[" + std::to_string(i) + "]";
                SimWorld::Component comp;
                if (!readComponent((*comps)[i], cplace, charset, &comp)) return false;
                if (!seen.insert(comp.scid).second) {
                    return fail(cplace + ".scid", "SCId " + std::to_string(comp.scid) + " used twice in this service");
                }
                out->components.push_back(comp);
            }
        }

        int textCharset = charset;
        if (!readCharset(j, "dynamicTextCharset", place, charset, &textCharset)) return false;
        auto texts = j.find("dynamicText");
        if (texts != j.end()) {
            if (!texts->is_array()) return fail(place + ".dynamicText", "expected an array of strings");
            for (size_t i = 0; i < texts->size(); ++i) {
                std::string tplace = place + ".dynamicText[" + std::to_string(i) + "]";
                const Json& t = (*texts)[i];
                if (!t.is_string()) return fail(tplace, "expected a string");
                SimWorld::DynamicText dt;
                dt.charset = textCharset;
                std::string why;
                if (!SimCharset::encode(t.get<std::string>(), textCharset, &dt.bytes, &why)) return fail(tplace, why);
                if (dt.bytes.empty()) return fail(tplace, "dynamic text is empty");
                if (dt.bytes.size() > static_cast<size_t>(SimWorld::kDynamicTextBytes)) {
                    return fail(tplace, "dynamic text is " + std::to_string(dt.bytes.size()) + " bytes in " +
                                            SimCharset::name(textCharset) + ", longer than 128");
                }
                out->dynamicTexts.push_back(dt);
            }
        }
        return true;
    }

    bool readEnsemble(const Json& j, const std::string& place, SimWorld::Ensemble* out) {
        if (!expectObject(j, place)) return false;
        if (!checkKeys(j, place, {"block", "eid", "label", "charset", "signal", "services"})) return false;
        int64_t eid = 0, signal = 5;
        int charset = SimCharset::kEbuLatin;
        if (!readBlock(j, place, true, &out->block) ||
            !readInt(j, "eid", place, 0, 0xFFFF, true, &eid) ||
            !readCharset(j, "charset", place, charset, &charset) ||
            !readInt(j, "signal", place, 1, 7, false, &signal) ||
            !readLabel(j, place, charset, &out->label)) {
            return false;
        }
        out->eid = static_cast<uint16_t>(eid);
        out->signalLevel = static_cast<int>(signal);
        auto services = j.find("services");
        if (services == j.end()) return fail(place, "missing key \"services\"");
        if (!services->is_array()) return fail(place + ".services", "expected an array");
        if (services->empty()) return fail(place + ".services", "an ensemble needs at least one service");
        std::set<uint32_t> seen;
        for (size_t i = 0; i < services->size(); ++i) {
            std::string splace = place + ".services[" + std::to_string(i) + "]";
            SimWorld::Service svc;
            if (!readService((*services)[i], splace, &svc)) return false;
            if (!seen.insert(svc.sid).second) return fail(splace + ".sid", "SId used twice in this ensemble");
            out->services.push_back(svc);
        }
        return true;
    }

    bool readPreset(const Json& j, const std::string& place, const SimWorld& world, SimWorld::Preset* out) {
        if (j.is_null()) return true;  // an empty slot
        if (!expectObject(j, place) || !checkKeys(j, place, {"block", "sid", "scid"})) return false;
        int block = 0;
        int64_t sid = -1, scid = -1;
        if (!readBlock(j, place, true, &block) ||
            !readInt(j, "sid", place, 0, 0xFFFFFFFFLL, false, &sid) ||
            !readInt(j, "scid", place, 0, 255, false, &scid)) {
            return false;
        }
        out->block = block;
        const SimWorld::Ensemble* ens = world.ensembleOnBlock(block);
        if (ens == nullptr) {
            if (sid >= 0) return fail(place + ".sid", "no ensemble on block " + std::to_string(block));
            return true;  // a preset on an empty channel
        }
        const SimWorld::Service* svc = sid >= 0 ? world.findService(block, static_cast<uint32_t>(sid))
                                                : &ens->services.front();
        if (svc == nullptr) {
            return fail(place + ".sid", "no service with SId " + std::to_string(sid) + " on block " +
                                            std::to_string(block));
        }
        out->sid = svc->sid;
        out->scid = svc->components.front().scid;
        if (scid >= 0) {
            bool found = false;
            for (const auto& comp : svc->components) found = found || comp.scid == static_cast<uint32_t>(scid);
            if (!found) return fail(place + ".scid", "no component with SCId " + std::to_string(scid));
            out->scid = static_cast<uint32_t>(scid);
        }
        return true;
    }

    bool readWorld(const Json& root, SimWorld* world) {
        if (!root.is_object()) return fail("top level", "expected an object");
        if (!checkKeys(root, "top level", {"ensembles", "presets", "start", "dynamicTextIntervalMs",
                                           "listUpdateMs", "timeShiftCapacitySeconds"})) {
            return false;
        }
        auto ensembles = root.find("ensembles");
        if (ensembles == root.end()) return fail("top level", "missing key \"ensembles\"");
        if (!ensembles->is_array()) return fail("ensembles", "expected an array");
        std::set<int> blocks;
        std::set<uint16_t> eids;
        size_t components = 0;
        for (size_t i = 0; i < ensembles->size(); ++i) {
            std::string place = "ensembles[" + std::to_string(i) + "]";
            SimWorld::Ensemble ens;
            if (!readEnsemble((*ensembles)[i], place, &ens)) return false;
            if (!blocks.insert(ens.block).second) {
                return fail(place + ".block", "a second ensemble on block " + std::to_string(ens.block));
            }
            if (!eids.insert(ens.eid).second) return fail(place + ".eid", "EId used by another ensemble");
            for (const auto& svc : ens.services) components += svc.components.size();
            world->ensembles.push_back(ens);
        }
        // List sizes and positions travel as single bytes.
        if (components > 255) return fail("ensembles", "more than 255 service components");
        std::sort(world->ensembles.begin(), world->ensembles.end(),
                  [](const SimWorld::Ensemble& a, const SimWorld::Ensemble& b) { return a.block < b.block; });

        int64_t interval = world->dynamicTextIntervalMs;
        int64_t update = world->listUpdateMs;
        int64_t capacity = world->timeShiftCapacitySeconds;
        if (!readInt(root, "dynamicTextIntervalMs", "", 500, 600000, false, &interval) ||
            !readInt(root, "listUpdateMs", "", 100, 60000, false, &update) ||
            !readInt(root, "timeShiftCapacitySeconds", "", 1, 65535, false, &capacity)) {
            return false;
        }
        world->dynamicTextIntervalMs = static_cast<int>(interval);
        world->listUpdateMs = static_cast<int>(update);
        world->timeShiftCapacitySeconds = static_cast<int>(capacity);

        auto presets = root.find("presets");
        if (presets == root.end()) {
            world->fillDefaultPresets();
        } else {
            if (!presets->is_array() || presets->size() > SimWorld::kBanks) {
                return fail("presets", "expected an array of at most 3 banks");
            }
            for (size_t b = 0; b < presets->size(); ++b) {
                const Json& bank = (*presets)[b];
                std::string bplace = "presets[" + std::to_string(b) + "]";
                if (!bank.is_array() || bank.size() > SimWorld::kPresetsPerBank) {
                    return fail(bplace, "expected an array of at most 6 presets");
                }
                for (size_t p = 0; p < bank.size(); ++p) {
                    std::string pplace = bplace + "[" + std::to_string(p) + "]";
                    if (!readPreset(bank[p], pplace, *world, &world->presets[b][p])) return false;
                }
            }
        }

        auto start = root.find("start");
        if (start != root.end()) {
            if (!expectObject(*start, "start") || !checkKeys(*start, "start", {"band", "preset"})) return false;
            int64_t band = 1, preset = 1;
            if (!readInt(*start, "band", "start", 1, 3, false, &band) ||
                !readInt(*start, "preset", "start", 1, 6, false, &preset)) {
                return false;
            }
            world->startBand = static_cast<int>(band);
            world->startPreset = static_cast<int>(preset);
        }
        return true;
    }

private:
    std::string mPath;
    std::string mError;
};

// "line L, column C" of a byte offset (1-based, as the parser counts).
std::string positionOf(const std::string& text, size_t byte) {
    size_t line = 1, column = 0;
    for (size_t i = 0; i < byte && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++line;
            column = 0;
        } else {
            ++column;
        }
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column == 0 ? 1 : column);
}

// The parser's explanation without its own prefix and position.
std::string parserReason(const char* what) {
    std::string s(what);
    size_t col = s.find("column ");
    if (col != std::string::npos) {
        size_t colon = s.find(": ", col);
        if (colon != std::string::npos) return s.substr(colon + 2);
    }
    size_t bracket = s.find("] ");
    return bracket == std::string::npos ? s : s.substr(bracket + 2);
}

}  // namespace

bool SimScenario::load(const std::string& path, SimWorld* out, std::string* error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        if (error) *error = path + ": cannot open: " + strerror(errno);
        return false;
    }
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) {
        if (error) *error = path + ": cannot read";
        return false;
    }
    return parse(text.str(), path, out, error);
}

bool SimScenario::parse(const std::string& text, const std::string& path, SimWorld* out, std::string* error) {
    Json root;
    try {
        root = Json::parse(text);
    } catch (const Json::parse_error& e) {
        if (error) *error = path + ": " + positionOf(text, e.byte) + ": malformed JSON: " + parserReason(e.what());
        return false;
    } catch (const Json::exception& e) {
        // A number beyond what a double holds, for one.
        if (error) *error = path + ": malformed JSON: " + parserReason(e.what());
        return false;
    }
    SimWorld world;
    world.origin = path;
    Reader reader(path);
    if (!reader.readWorld(root, &world)) {
        if (error) *error = reader.error();
        return false;
    }
    *out = world;
    return true;
}

}  // namespace media_lib_dab
