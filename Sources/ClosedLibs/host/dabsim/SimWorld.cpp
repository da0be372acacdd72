#include "SimWorld.h"

#include "SimCharset.h"
#include "SimScenario.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace media_lib_dab {

namespace {

constexpr int E = SimCharset::kEbuLatin;
constexpr int U8 = SimCharset::kUtf8;
constexpr int U2 = SimCharset::kUcs2;

// Built-in world description, written as UTF-8; encoded once when the world is built.
// A null label is a label the broadcaster does not send.
struct CompDef {
    uint32_t scid;
    const char* label;
};

struct ServiceDef {
    uint32_t sid;
    const char* label;
    int charset;
    int pty;
    int bitRate;
    int fmLink;
    std::vector<CompDef> components;  // empty: one primary component labelled like the service
    std::vector<const char*> texts;
};

struct EnsembleDef {
    int block;
    uint16_t eid;
    const char* label;
    int charset;
    int signal;
    std::vector<ServiceDef> services;
};

const std::vector<EnsembleDef>& builtInDefs() {
    static const std::vector<EnsembleDef> defs = {
        {14, 0x10A1, "Nordwelle DAB", E, 6, {
            {0xD101, "Nordwelle Pop", E, 10, 128, 1, {},
             {"Nordwelle Pop: Sommerregen - Die Strandkinder",
              "Nordwelle Pop am Morgen mit Hanna und Jonas, jeden Werktag von 5 bis 10 Uhr, "
              "dazu Wetter und Verkehr"}},
            {0xD102, "Nordwelle Info", E, 1, 96, 2, {},
             {"Nachrichten: Hafenfest beginnt am Freitag",
              "Börsenticker: Leitindex schließt fester"}},
            {0xD103, "Küstenradio", E, 12, 128, 1, {},
             {"Küstenradio - Musik für die ganze Küste"}},
            {0xD104, "Hafenjazz", E, 24, 112, 3, {}, {"Live aus dem Hafenkeller: Trio Möwe"}},
            {0xD105, "Sportarena", E, 4, 96, 1,
             {{0, "Sportarena"}, {1, "Arena Live 1"}, {2, "Arena Live 2"}},
             {"Sportarena: Konferenz ab 15:30 Uhr", "Tor in Minute 87! 2:1"}},
        }},
        {19, 0x10B2, "Metro Mux", U8, 5, {
            {0xD201, "Café Hits", U8, 10, 128, 1, {},
             {"Café Hits – Neue Musik jeden Tag",
              "Jetzt: „Crème brûlée“ von Les Étoiles — danach die Charts der Woche mit "
              "allen Neueinsteigern"}},
            {0xD202, "Metro News", U8, 1, 80, 1,
             {{0, "Metro News"}, {1, "Metro Verkehr"}},
             {"Metro News: Stadtrat beschließt neue Tramlinie"}},
            {0xD203, "Jazz & Soul", U8, 24, 128, 1, {}, {"Jazz & Soul – Nachtausgabe"}},
            {0xD204, "Kinderfunk", U8, 18, 64, 1, {}, {"Hörspielzeit für Kinder"}},
            {0xD205, "Rockstation", U8, 11, 160, 1, {}, {"Rockstation: Gitarren bis Mitternacht"}},
            {0xD206, "Oldie Zeit", U8, 27, 96, 2, {}, {}},
        }},
        {25, 0x10C3, "Радио", U2, 4, {
            {0xD301, "Радио 1", U2, 10, 128, 1, {}, {"Радио 1: Хиты дня"}},
            {0xD302, "Новости", U2, 1, 64, 1, {}, {"Новости каждый час"}},
            {0xD303, "Классика", U2, 14, 192, 1, {}, {"Классика: Чайковский"}},
            {0xD304, "Ελλάδα", U2, 26, 96, 1, {}, {"Ελληνική μουσική"}},
        }},
        {33, 0x10D4, nullptr, E, 3, {
            {0xD401, "Stadtradio", E, 3, 96, 1, {{0, nullptr}}, {"Stadtradio: Veranstaltungstipps"}},
            {0xD402, nullptr, E, 15, 64, 1, {{0, nullptr}}, {}},
            {0xD403, "Verkehr Live", E, 22, 48, 1, {}, {"A7: 3 km Stau zwischen Nord und Mitte"}},
        }},
        {39, 0x10E5, "Klassik Welle", E, 7, {
            {0xD501, "Klassik Eins", E, 14, 192, 1, {}, {"Beethoven: Symphonie Nr. 6 F-Dur"}},
            {0xD502, "Oper & Mehr", E, 13, 160, 1, {}, {"Verdi: La Traviata, 1. Akt"}},
            {0xD503, "Barock", E, 14, 128, 1, {}, {"Händel: Wassermusik"}},
            {0xD504, "Chormusik", E, 13, 128, 1, {{0, nullptr}}, {"Knabenchor der Domstadt"}},
        }},
        {44, 0x10F6, "Südstern", U8, 5, {
            {0xD601, "Südstern 1", U8, 10, 128, 1, {}, {"Südstern 1 – Die besten Hits im Süden"}},
            {0xD602, "Schlager Süd", U8, 26, 96, 1, {}, {"Schlager Süd: Herzklopfen"}},
            {0xD603, "Wetter & Börse", U8, 17, 48, 1, {}, {"Morgen sonnig, 24 °C – DAX +0,8 %"}},
            {0xD604, "Dialekt FM", U8, 26, 80, 1, {}, {"Grüß Gott beim Dialekt FM"}},
            {0xD605, "Bergfunk", U8, 9, 96, 3, {}, {"Bergfunk: Hüttenabend"}},
        }},
        {54, 0x1107, "L-Band Eins", E, 4, {
            {0xD701, "Ærø Radio", E, 28, 96, 1, {}, {"Ærø Radio: Folk fra øerne"}},
            {0xD702, "Nachrichten 24", E, 1, 64, 1, {}, {"Nachrichten rund um die Uhr"}},
            {0xD703, "Éire Folk", E, 28, 96, 1, {}, {"Éire Folk: Céilí music"}},
        }},
        {60, 0x1208, "日本語放送", U2, 2, {
            {0xD801, "音楽ラジオ", U2, 10, 128, 1, {}, {"音楽ラジオ：今日のヒット曲"}},
            {0xD802, "ニュース", U2, 1, 64, 1, {}, {"ニュース：天気予報"}},
            {0xD803, "Jazz 東京", U2, 24, 96, 1, {}, {}},
        }},
        {71, 0x1309, "Grenzland DAB", E, 3, {
            {0xD901, "Grenzland Pop", E, 10, 112, 1, {}, {"Grenzland Pop - Hits ohne Grenzen"}},
            {0xD902, "Łódź Radio", E, 3, 96, 1, {}, {"Łódź Radio: Wiadomości"}},
            {0xD903, "Český Jazz", E, 24, 96, 1, {}, {"Český Jazz: Večerní koncert"}},
        }},
    };
    return defs;
}

// Labels of the built-in world are checked by the tests; an unencodable one would be a bug.
SimWorld::Label builtInLabel(const char* text, int charset) {
    SimWorld::Label label;
    if (text == nullptr) return label;
    std::string error;
    if (!SimWorld::makeLabel(text, charset, &label, &error)) {
        fprintf(stderr, "dabsim: built-in label \"%s\": %s\n", text, error.c_str());
        abort();
    }
    return label;
}

std::vector<uint32_t> sortKey(const SimWorld::Label& label) {
    std::vector<uint32_t> key = SimCharset::decode(label.bytes, label.charset);
    for (uint32_t& cp : key) {
        if (cp >= 'A' && cp <= 'Z') cp += 'a' - 'A';
    }
    return key;
}

// Alphabetical by label as the listener reads it; entries without label go last, and equal
// labels keep their broadcast order.
void sortByLabel(std::vector<SimWorld::ListEntry>* entries) {
    std::stable_sort(entries->begin(), entries->end(),
                     [](const SimWorld::ListEntry& a, const SimWorld::ListEntry& b) {
                         if (a.label.present != b.label.present) return a.label.present;
                         if (!a.label.present) return false;
                         return sortKey(a.label) < sortKey(b.label);
                     });
}

}  // namespace

bool SimWorld::makeLabel(const std::string& utf8, int charset, Label* out, std::string* error) {
    std::string bytes;
    std::string why;
    if (!SimCharset::encode(utf8, charset, &bytes, &why)) {
        if (error) *error = "label \"" + utf8 + "\": " + why;
        return false;
    }
    if (bytes.empty()) {
        if (error) *error = "label is empty (leave it out when the broadcaster sends none)";
        return false;
    }
    if (bytes.size() > static_cast<size_t>(kLabelBytes)) {
        if (error) {
            *error = "label \"" + utf8 + "\" is " + std::to_string(bytes.size()) + " bytes in " +
                     SimCharset::name(charset) + ", longer than 16";
        }
        return false;
    }
    out->present = true;
    out->charset = charset;
    out->bytes = bytes;
    out->text = utf8;
    return true;
}

SimWorld SimWorld::builtIn() {
    SimWorld world;
    for (const EnsembleDef& ed : builtInDefs()) {
        Ensemble ens;
        ens.block = ed.block;
        ens.eid = ed.eid;
        ens.label = builtInLabel(ed.label, ed.charset);
        ens.signalLevel = ed.signal;
        for (const ServiceDef& sd : ed.services) {
            Service svc;
            svc.sid = sd.sid;
            svc.label = builtInLabel(sd.label, sd.charset);
            svc.pty = sd.pty;
            svc.bitRate = sd.bitRate;
            svc.fmLink = sd.fmLink;
            if (sd.components.empty()) {
                svc.components.push_back(Component{0, svc.label});
            } else {
                for (const CompDef& cd : sd.components) {
                    svc.components.push_back(Component{cd.scid, builtInLabel(cd.label, sd.charset)});
                }
            }
            for (const char* text : sd.texts) {
                DynamicText dt;
                dt.charset = sd.charset;
                std::string error;
                if (!SimCharset::encode(text, sd.charset, &dt.bytes, &error) ||
                    dt.bytes.size() > static_cast<size_t>(kDynamicTextBytes)) {
                    fprintf(stderr, "dabsim: built-in text \"%s\" does not fit\n", text);
                    abort();
                }
                svc.dynamicTexts.push_back(dt);
            }
            ens.services.push_back(svc);
        }
        world.ensembles.push_back(ens);
    }

    // Bank 1: favourites in Band III; bank 2: L-band and stations without labels; bank 3:
    // more of Band III with the last slot left empty.
    const Preset banks[kBanks][kPresetsPerBank] = {
        {{14, 0xD101, 0}, {14, 0xD103, 0}, {19, 0xD201, 0}, {25, 0xD301, 0}, {39, 0xD501, 0}, {44, 0xD601, 0}},
        {{54, 0xD701, 0}, {60, 0xD801, 0}, {71, 0xD902, 0}, {33, 0xD401, 0}, {33, 0xD402, 0}, {14, 0xD105, 0}},
        {{19, 0xD202, 0}, {19, 0xD203, 0}, {25, 0xD302, 0}, {44, 0xD603, 0}, {71, 0xD901, 0}, {0, 0, 0}},
    };
    for (int b = 0; b < kBanks; ++b) {
        for (int p = 0; p < kPresetsPerBank; ++p) world.presets[b][p] = banks[b][p];
    }
    return world;
}

bool SimWorld::loadScenario(const std::string& path, SimWorld* out, std::string* error) {
    return SimScenario::load(path, out, error);
}

void SimWorld::fillDefaultPresets() {
    int slot = 0;
    for (const Ensemble& ens : ensembles) {
        for (const Service& svc : ens.services) {
            if (slot >= kBanks * kPresetsPerBank) return;
            presets[slot / kPresetsPerBank][slot % kPresetsPerBank] =
                Preset{ens.block, svc.sid, svc.components.front().scid};
            ++slot;
        }
    }
}

const SimWorld::Ensemble* SimWorld::ensembleOnBlock(int block) const {
    for (const Ensemble& ens : ensembles) {
        if (ens.block == block) return &ens;
    }
    return nullptr;
}

const SimWorld::Service* SimWorld::findService(int block, uint32_t sid) const {
    const Ensemble* ens = ensembleOnBlock(block);
    if (ens == nullptr) return nullptr;
    for (const Service& svc : ens->services) {
        if (svc.sid == sid) return &svc;
    }
    return nullptr;
}

int SimWorld::serviceCount() const {
    int n = 0;
    for (const Ensemble& ens : ensembles) n += static_cast<int>(ens.services.size());
    return n;
}

int SimWorld::ptyGroup(int pty) {
    switch (pty) {
        case 1: case 2: case 3: case 4: case 16: case 17: case 22: case 29:
            return 1;  // news and information
        case 10: case 11: case 12: case 15: case 24: case 25: case 26: case 27: case 28:
            return 2;  // popular music
        case 13: case 14:
            return 3;  // classics
        default:
            return 4;  // others
    }
}

std::vector<SimWorld::ListEntry> SimWorld::serviceComponentList() const {
    std::vector<ListEntry> list;
    const int services = serviceCount();
    int servicePos = 0;
    for (const Ensemble& ens : ensembles) {
        for (const Service& svc : ens.services) {
            ++servicePos;
            for (const Component& comp : svc.components) {
                ListEntry e;
                e.block = ens.block;
                e.eid = ens.eid;
                e.sid = svc.sid;
                e.scid = comp.scid;
                e.label = comp.label.present ? comp.label : svc.label;
                e.outerAll = services;
                e.outerPos = servicePos;
                list.push_back(e);
            }
        }
    }
    sortByLabel(&list);
    return list;
}

std::vector<SimWorld::ListEntry> SimWorld::ptyList(int group) const {
    std::vector<ListEntry> list;
    const int services = serviceCount();
    int servicePos = 0;
    for (const Ensemble& ens : ensembles) {
        for (const Service& svc : ens.services) {
            ++servicePos;
            if (ptyGroup(svc.pty) != group) continue;
            ListEntry e;
            e.block = ens.block;
            e.eid = ens.eid;
            e.sid = svc.sid;
            e.scid = svc.components.front().scid;
            e.label = svc.label;
            e.outerAll = services;
            e.outerPos = servicePos;
            list.push_back(e);
        }
    }
    sortByLabel(&list);
    return list;
}

std::vector<SimWorld::ListEntry> SimWorld::ensembleList() const {
    std::vector<ListEntry> list;
    int pos = 0;
    for (const Ensemble& ens : ensembles) {
        ListEntry e;
        e.block = ens.block;
        e.eid = ens.eid;
        e.label = ens.label;
        e.outerAll = static_cast<int>(ensembles.size());
        e.outerPos = ++pos;
        list.push_back(e);
    }
    return list;
}

std::vector<SimWorld::ListEntry> SimWorld::ensembleComponentList(uint16_t eid) const {
    std::vector<ListEntry> list;
    int pos = 0;
    for (const Ensemble& ens : ensembles) {
        ++pos;
        if (ens.eid != eid) continue;
        for (const Service& svc : ens.services) {
            for (const Component& comp : svc.components) {
                ListEntry e;
                e.block = ens.block;
                e.eid = ens.eid;
                e.sid = svc.sid;
                e.scid = comp.scid;
                e.label = comp.label.present ? comp.label : svc.label;
                e.outerAll = static_cast<int>(ensembles.size());
                e.outerPos = pos;
                list.push_back(e);
            }
        }
        break;
    }
    return list;
}

}  // namespace media_lib_dab
