#ifndef DAB_SERVER_DABDUMPFORMATTER_H
#define DAB_SERVER_DABDUMPFORMATTER_H

#include "DABDumpState.h"

#include <stdint.h>

#include <utils/String16.h>
#include <utils/String8.h>
#include <utils/Vector.h>

// Turns a copied DABDumpState into the dump's text or JSON. Pure formatting: no lock, no
// log line, no service state.
class DABDumpFormatter {
public:
    // The sections, in the order they are shown.
    enum Section : uint32_t {
        kLifecycle = 1u << 0,
        kStation = 1u << 1,
        kClients = 1u << 2,
        kWorker = 1u << 3,
        kCache = 1u << 4,
        kSources = 1u << 5,
        kTunerNotifications = 1u << 6,
        kClientNotifications = 1u << 7,
        kLogicModes = 1u << 8,
        kAll = (1u << 9) - 1,
    };

    // Any thread; pure. Reads the dump options: section names and "--json". Without a
    // section every one is shown. False for an unknown option, with *error saying which and
    // naming the known sections.
    static bool parseArgs(const android::Vector<android::String16>& args, uint32_t* sections,
                          bool* json, android::String8* error);
    // Any thread; pure. The known section names, separated by blanks.
    static const char* sectionNames();

    // Any thread; pure.
    static android::String8 text(const DABDumpState& s, uint32_t sections);
    static android::String8 json(const DABDumpState& s, uint32_t sections);
};

#endif  // DAB_SERVER_DABDUMPFORMATTER_H
