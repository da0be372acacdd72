#ifndef DAB_TOOLS_DABCTL_RADIOSNAPSHOT_H
#define DAB_TOOLS_DABCTL_RADIOSNAPSHOT_H

#include "NotificationSink.h"
#include "TextConversion.h"

#include <dabplayer/IDABPlayer.h>
#include <nlohmann/json.hpp>

#include <string>

namespace dabclient {

// The radio's state as one application reads it through its client object: every query,
// each with its result. One thread at a time.
class RadioSnapshot {
public:
    // An int query: its result and what it wrote.
    struct Value {
        int result = -1;
        int value = 0;
    };
    // A label or text query.
    struct Text {
        int result = -1;
        int code = 0;
        ConvertedText text;
    };
    struct Preset {
        int result = -1;
        int labelAvail = 0;
        ConvertedText label;
    };
    static constexpr int kPresetsPerBand = 6;

    // Any thread; blocks for about 30 round trips to the service.
    static RadioSnapshot take(android::IDABPlayer& player);
    // Any thread; blocks for one dump of the service and the six preset queries. The state
    // the service's dump shows ("station" and "lifecycle" sections, JSON); nothing else is
    // queried. transportFailed when the service could not be reached. With previous of the
    // same band its presets are kept instead of read again.
    static RadioSnapshot fromDump(android::IDABPlayer& player,
                                  const RadioSnapshot* previous = nullptr);
    // Any thread; pure. The same from a dump already read.
    static RadioSnapshot fromDumpJson(const nlohmann::ordered_json& dump);

    // Any thread; non-blocking. Keeps the state current with one notification, as the
    // queries would answer after it. True when the presets shown must be read again
    // (readPresets): a preset of the shown band changed, or the band did.
    bool apply(const Notification& n);
    // Any thread; blocks for six round trips.
    void readPresets(android::IDABPlayer& player);

    // Whether the service answers as an active source (its band query succeeds).
    bool active() const { return band.result == 0; }
    // Any thread; non-blocking. A one-screen summary.
    std::string text() const;
    // Any thread; non-blocking.
    nlohmann::ordered_json toJson() const;

    // A label for people: the UTF-8 text, "(no data)" (result 1), "(refused)" (-1), or the
    // raw bytes said to be not convertible. Never a raw code.
    static std::string display(const Text& t);
    static std::string display(const Preset& p);
    // The reception error for people: "none", "type 1", "type 2", "unknown" or "(refused)".
    static std::string errorText(const Value& v);
    // The logic mode's name ("normal", "seek up", ...), empty when unknown.
    static const char* logicModeName(int mode);

    Value band, presetNum, frequency, nm, signal, fmLink, bitRate, ptyType, compTotal, compNum;
    Value logicMode, error, realError, antStatus, displayFormat;
    Value playbackStatus, totalTime, cacheTime, pauseTime;
    int freqResult = -1;
    std::string freqText;  // "174.928MHz"
    std::string channel;   // "5B", from the channel table
    Text ensemble, service, component, dynamicText;
    Preset presets[kPresetsPerBand];
    int presetBand = 0;  // the band the presets belong to
    bool transportFailed = false;  // a call did not get through
};

}  // namespace dabclient

#endif  // DAB_TOOLS_DABCTL_RADIOSNAPSHOT_H
