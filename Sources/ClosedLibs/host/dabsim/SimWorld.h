#ifndef DAB_HOST_DABSIM_SIMWORLD_H
#define DAB_HOST_DABSIM_SIMWORLD_H

#include <cstdint>
#include <string>
#include <vector>

namespace media_lib_dab {

// The reception landscape the simulated tuner receives: ensembles on channel blocks, their
// services and components, the three preset banks and a few timing values. A world is built
// once (the built-in one or a scenario file) and never changed afterwards, so any thread may
// read it without a lock.
class SimWorld {
public:
    static constexpr int kFirstBlock = 13;  // 5A
    static constexpr int kLastBlock = 76;   // LW
    static constexpr int kLabelBytes = 16;
    static constexpr int kDynamicTextBytes = 128;
    static constexpr int kBanks = 3;
    static constexpr int kPresetsPerBank = 6;

    // A label as the tuner hands it out: encoded in its character set, at most 16 bytes.
    // Absent when the broadcaster sends none (the tuner then says "No Data Provided").
    struct Label {
        bool present = false;
        int charset = 1;
        std::string bytes;  // encoded text, 1 to 16 bytes when present
        std::string text;   // the same text in UTF-8, for sorting and searching
    };

    // One dynamic label text, encoded, at most 128 bytes.
    struct DynamicText {
        int charset = 1;
        std::string bytes;
    };

    struct Component {
        uint32_t scid = 0;
        Label label;
    };

    struct Service {
        uint32_t sid = 0;
        Label label;
        int pty = 0;      // programme type 0 to 31
        int bitRate = 0;  // kbit/s
        int fmLink = 1;   // 1 no FM alternative, 2 following FM, 3 FM alternative available
        std::vector<Component> components;       // at least one; the first is the primary
        std::vector<DynamicText> dynamicTexts;   // sent in turn; none: "No Data Provided"
    };

    struct Ensemble {
        int block = 0;       // channel block id 13 to 76
        uint16_t eid = 0;
        Label label;
        int signalLevel = 5;  // 1 to 7
        std::vector<Service> services;
    };

    // One preset slot: a channel block and the service on it; block 0 is an empty slot.
    struct Preset {
        int block = 0;
        uint32_t sid = 0;
        uint32_t scid = 0;
    };

    // One entry of a list the tuner delivers item by item.
    struct ListEntry {
        int block = 0;
        uint16_t eid = 0;
        uint32_t sid = 0;
        uint32_t scid = 0;
        Label label;
        int outerAll = 0;  // size of the enclosing list (services or ensembles)
        int outerPos = 0;  // position in it, from 1
    };

    std::vector<Ensemble> ensembles;  // ordered by block id, at most one per block
    Preset presets[kBanks][kPresetsPerBank];
    int startBand = 1;    // bank tuned at power-on, 1 to 3
    int startPreset = 1;  // preset of that bank tuned at power-on, 1 to 6
    int dynamicTextIntervalMs = 5000;   // a new dynamic text every this many ms (+-20 %)
    int listUpdateMs = 3000;            // length of a service-list update
    int timeShiftCapacitySeconds = 1800;
    std::string origin = "built-in";    // where the world came from, for messages

    // Any thread; non-blocking. The world the tuner receives when no scenario file is named.
    static SimWorld builtIn();

    // Any thread; reads the file. Loads a scenario file (format: README.md next to this
    // file). On failure returns false and sets *error to "<file>: <place>: <problem>".
    static bool loadScenario(const std::string& path, SimWorld* out, std::string* error);

    // Any thread; non-blocking. Encodes text into a label; false with the reason when the
    // text does not fit the character set or is longer than 16 bytes once encoded.
    static bool makeLabel(const std::string& utf8, int charset, Label* out, std::string* error);

    // Builder only, before the world is shared. Fills every bank with the services in block
    // order, for worlds that name no presets.
    void fillDefaultPresets();

    // The queries below: any thread; non-blocking.
    // The ensemble on a block, or null for an empty channel.
    const Ensemble* ensembleOnBlock(int block) const;
    // The service with this SId in the ensemble on a block, or null.
    const Service* findService(int block, uint32_t sid) const;
    int serviceCount() const;

    // The lists, as the tuner delivers them. Service components: every component of every
    // service, alphabetically by label (labels absent at the end). PTY group 1 news and
    // information, 2 popular, 3 classics, 4 others: one entry per service, alphabetically.
    // Ensembles: by block id. Components of one ensemble: in broadcast order.
    std::vector<ListEntry> serviceComponentList() const;
    std::vector<ListEntry> ptyList(int group) const;
    std::vector<ListEntry> ensembleList() const;
    std::vector<ListEntry> ensembleComponentList(uint16_t eid) const;

    // Any thread; non-blocking. PTY group (1 to 4) of a programme type.
    static int ptyGroup(int pty);
};

}  // namespace media_lib_dab

#endif  // DAB_HOST_DABSIM_SIMWORLD_H
