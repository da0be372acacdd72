#include "DABDumpFormatter.h"

#include <inttypes.h>
#include <string.h>

using namespace android;

namespace {

struct SectionName {
    uint32_t bit;
    const char* name;
};

const SectionName kSectionNames[] = {
        {DABDumpFormatter::kLifecycle, "lifecycle"},
        {DABDumpFormatter::kStation, "station"},
        {DABDumpFormatter::kClients, "clients"},
        {DABDumpFormatter::kWorker, "worker"},
        {DABDumpFormatter::kCache, "cache"},
        {DABDumpFormatter::kSources, "sources"},
        {DABDumpFormatter::kTunerNotifications, "tuner-notifications"},
        {DABDumpFormatter::kClientNotifications, "client-notifications"},
        {DABDumpFormatter::kLogicModes, "logic-modes"},
};

const char* const kQueueMsgNames[] = {
        "none",           "preset-band1",   "preset-band2",       "preset-band3",
        "preset-current", "service",        "pty-newsinfo",       "pty-popular",
        "pty-classics",   "pty-others",     "ensemble",           "ensemble-comp",
        "wait-preset-updown", "wait-13",    "wait-14",            "wait-switch-band",
        "wait-manual-updown", "wait-source-on", "exit"};

const char* const kListTypeNames[] = {"none",         "service",      "pty-newsinfo",
                                      "pty-popular",  "pty-classics", "pty-others",
                                      "ensemble-comp", "ensemble",    "abc-search"};

// How long the worker holds each kind of message before it gives up.
constexpr int64_t kWaitEventHoldNs = 2000000000LL;
constexpr int64_t kListRequestHoldNs = 5000000000LL;

const char* queueMsgName(int32_t type) {
    return type >= 0 && type <= DAB_SERVER_QUEUE_MSG_EXIT ? kQueueMsgNames[type] : "unknown";
}

const char* listTypeName(int32_t type) {
    return type >= 0 && type <= 8 ? kListTypeNames[type] : "unknown";
}

bool isWaitEvent(int32_t type) {
    return type >= DAB_SERVER_QUEUE_MSG_WAIT_PRESET_UPDOWN &&
           type <= DAB_SERVER_QUEUE_MSG_WAIT_SOURCE_ON;
}

int64_t holdNs(int32_t type) {
    if (isWaitEvent(type)) return kWaitEventHoldNs;
    if (type >= DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND1 && type <= DAB_SERVER_QUEUE_MSG_ENSEMBLE_COMP) {
        return kListRequestHoldNs;
    }
    return 0;
}

int64_t ms(int64_t ns) { return ns / 1000000; }

// How long the worker has held its message, and how long it holds it still, in whole ms.
int64_t heldMs(const DABDumpState& s) { return ms(s.nowNs - s.worker.heldSinceNs); }
int64_t leftMs(int32_t type, int64_t held) {
    const int64_t left = ms(holdNs(type)) - held;
    return left < 0 ? 0 : left;
}

const char* busy(int32_t flag) { return flag == DAB_SERVER_IS_IN_PRESET_UPDOWN ? "busy" : "idle"; }

// Milliseconds since a monotonic time, or -1 for "never".
int64_t agoMs(const DABDumpState& s, int64_t whenNs) {
    return whenNs == 0 ? -1 : ms(s.nowNs - whenNs);
}

// Appends a JSON string: quotes, backslashes and control characters escaped, and bytes that
// are not UTF-8 replaced, so that any label yields valid JSON.
void appendJsonString(String8* out, const char* text) {
    out->append("\"");
    const unsigned char* p = reinterpret_cast<const unsigned char*>(text);
    while (*p != 0) {
        const unsigned char c = *p;
        if (c == '"' || c == '\\') {
            out->appendFormat("\\%c", c);
            ++p;
        } else if (c < 0x20) {
            out->appendFormat("\\u%04x", c);
            ++p;
        } else if (c < 0x80) {
            out->append(reinterpret_cast<const char*>(p), 1);
            ++p;
        } else {
            size_t len = (c & 0xE0) == 0xC0 ? 2 : (c & 0xF0) == 0xE0 ? 3 : (c & 0xF8) == 0xF0 ? 4 : 0;
            bool ok = len != 0;
            for (size_t i = 1; ok && i < len; ++i) ok = (p[i] & 0xC0) == 0x80;
            if (ok) {
                out->append(reinterpret_cast<const char*>(p), len);
                p += len;
            } else {
                out->append("\\ufffd");
                ++p;
            }
        }
    }
    out->append("\"");
}

String8 causeText(const DABCallCause& c) {
    String8 t;
    switch (c.kind) {
        case DABCallCause::kTuner: t.appendFormat("tuner notification id=%d value=%d", c.a, c.b); break;
        case DABCallCause::kOperation:
            t.appendFormat("operation %s from pid %d uid %d", c.name != nullptr ? c.name : "?", c.pid,
                           c.uid);
            break;
        case DABCallCause::kWaitEvent: t.appendFormat("wait event %s expired", queueMsgName(c.a)); break;
        case DABCallCause::kSource:
            t.appendFormat("source controller %s %s", c.name != nullptr ? c.name : "?",
                           c.a == 1 ? "tadab" : "dab");
            break;
        default: t.append("unknown"); break;
    }
    return t;
}

void causeJson(String8* out, const DABCallCause& c) {
    static const char* const kKinds[] = {"unknown", "tuner", "operation", "wait-event", "source"};
    const int32_t kind = c.kind >= 0 && c.kind <= DABCallCause::kSource ? c.kind : 0;
    out->appendFormat("{\"kind\":\"%s\"", kKinds[kind]);
    switch (c.kind) {
        case DABCallCause::kTuner: out->appendFormat(",\"tunerId\":%d,\"value\":%d", c.a, c.b); break;
        case DABCallCause::kOperation:
            out->append(",\"operation\":");
            appendJsonString(out, c.name != nullptr ? c.name : "");
            out->appendFormat(",\"pid\":%d,\"uid\":%d", c.pid, c.uid);
            break;
        case DABCallCause::kWaitEvent:
            out->appendFormat(",\"waitEvent\":\"%s\"", queueMsgName(c.a));
            break;
        case DABCallCause::kSource:
            out->append(",\"call\":");
            appendJsonString(out, c.name != nullptr ? c.name : "");
            out->appendFormat(",\"source\":\"%s\"", c.a == 1 ? "tadab" : "dab");
            break;
        default: break;
    }
    out->append("}");
}

}  // namespace

const char* DABDumpFormatter::sectionNames() {
    return "lifecycle station clients worker cache sources tuner-notifications "
           "client-notifications logic-modes";
}

bool DABDumpFormatter::parseArgs(const Vector<String16>& args, uint32_t* sections, bool* json,
                                 String8* error) {
    *sections = 0;
    *json = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const String8 arg(args[i]);
        if (strcmp(arg.string(), "--json") == 0) {
            *json = true;
            continue;
        }
        uint32_t bit = 0;
        for (const SectionName& s : kSectionNames) {
            if (strcmp(arg.string(), s.name) == 0) bit = s.bit;
        }
        if (bit == 0) {
            error->setTo("unknown section \"");
            // The name is the caller's text: shown only as far as it is printable.
            for (const char* p = arg.string(); *p != '\0' && p - arg.string() < 64; ++p) {
                error->appendFormat("%c", (*p >= 0x20 && *p < 0x7f) ? *p : '?');
            }
            error->appendFormat("\"; known sections: %s\n", sectionNames());
            return false;
        }
        *sections |= bit;
    }
    if (*sections == 0) *sections = kAll;
    return true;
}

String8 DABDumpFormatter::text(const DABDumpState& s, uint32_t sections) {
    String8 o;
    if (sections & kLifecycle) {
        const DABDumpLifecycle& l = s.lifecycle;
        o.append("Lifecycle:\n");
        o.appendFormat("  active: %s\n", l.active ? "yes" : "no");
        o.appendFormat("  source type: %s\n", l.sourceType == 1 ? "tadab (1)" : l.sourceType == 0 ? "dab (0)" : "other");
        o.appendFormat("  resumed: %s\n", l.resumed ? "yes" : "no");
        o.appendFormat("  suspended: %s\n", l.suspended ? "yes" : "no");
        o.appendFormat("  activation pending: %s\n", l.activatePending ? "yes" : "no");
    }
    if (sections & kStation) {
        const DABDumpStation& t = s.station;
        o.append("Station:\n");
        o.appendFormat("  band: %d\n", t.band);
        if (t.presetNum == 0) {
            o.append("  preset: none\n");
        } else {
            o.appendFormat("  preset: %d\n", t.presetNum);
        }
        o.appendFormat("  block id: %d\n", t.blockId);
        const char* labels[3] = {t.ensembleLabel, t.serviceLabel, t.compLabel};
        const char* names[3] = {"ensemble label", "service label", "component label"};
        for (int i = 0; i < 3; ++i) {
            if (t.labelCharset[i] < 0) {
                o.appendFormat("  %s: \"%s\" (no label received)\n", names[i], labels[i]);
            } else {
                o.appendFormat("  %s: \"%s\" (charset %d)\n", names[i], labels[i], t.labelCharset[i]);
            }
        }
        o.appendFormat("  dynamic text: \"%s\" (charset %d, %s)\n", t.dynamicText, t.dynamicTextCharset,
                       t.dynamicTextCached == DAB_SERVER_DYNAMIC_TEXT_HAS_DATA ? "has data" : "no data");
        o.appendFormat("  logic mode: %d\n", t.logicMode);
        o.appendFormat("  busy: preset up/down %s, seek cancel %s, preset memory %s, manual up/down %s, "
                       "switch band %s, source-on delay %s\n",
                       busy(t.busyPresetUpDown), busy(t.busySeekCancel), busy(t.busyPresetMemory),
                       busy(t.busyManualUpDown), busy(t.busySwitchBand), busy(t.busySourceOnDelay));
        o.appendFormat("  seek direction: %d\n", t.seekDirection);
        o.appendFormat("  error type: %d, published level: %d, antenna: %d\n", t.errorType,
                       t.errorPublished, t.antStatus);
        o.appendFormat("  signal level: %d, FM link: %d, bit rate: %d, PTY: %d\n", t.signalLevel,
                       t.fmLink, t.bitRate, t.ptyType);
        o.appendFormat("  components: %d of %d\n", t.compNum, t.compTotal);
        o.appendFormat("  time-shift: status %d, total %d, cache %d, pause %d\n", t.playbackStatus,
                       t.totalTime, t.cacheTime, t.pauseTime);
        o.appendFormat("  display format: %d\n", t.displayFormat);
        o.appendFormat("  connect status: %d\n", t.connectStatus);
    }
    if (sections & kClients) {
        o.appendFormat("Clients: %zu\n", s.clients.size());
        for (size_t i = 0; i < s.clients.size(); ++i) {
            const DABDumpClient& c = s.clients[i];
            o.appendFormat("  pid %d uid %d listener %s queued ", c.pid, c.uid, c.listener ? "on" : "off");
            if (c.backlogKnown) {
                o.appendFormat("%" PRIu64 " messages %" PRIu64 " bytes", c.queuedMessages, c.queuedBytes);
            } else {
                o.append("unknown");
            }
            o.appendFormat(" sent %" PRIu64 " dropped %" PRIu64 "\n", c.sent, c.dropped);
        }
    }
    if (sections & kWorker) {
        const DABDumpWorker& w = s.worker;
        o.append("List worker:\n");
        if (!w.running) {
            o.append("  not running\n");
        } else {
            if (w.held.msgType == DAB_SERVER_QUEUE_MSG_NONE) {
                o.append("  holding: nothing\n");
            } else {
                const int64_t held = heldMs(s);
                o.appendFormat("  holding: %s index %d param %u for %" PRId64 " ms (%" PRId64 " ms left)\n",
                               queueMsgName(w.held.msgType), w.held.itemIndex, w.held.param, held,
                               leftMs(w.held.msgType, held));
            }
            o.appendFormat("  queue: %zu\n", w.queue.size());
            for (size_t i = 0; i < w.queue.size(); ++i) {
                o.appendFormat("    %zu. %s index %d param %u%s\n", i + 1, queueMsgName(w.queue[i].msgType),
                               w.queue[i].itemIndex, w.queue[i].param,
                               isWaitEvent(w.queue[i].msgType) ? " (wait event, 2000 ms once taken)" : "");
            }
        }
    }
    if (sections & kCache) {
        const DABDumpCache& c = s.cache;
        o.append("List cache:\n");
        for (int b = 0; b < 3; ++b) {
            o.appendFormat("  preset band %d: %d of 6 cached%s\n", b + 1, c.presetItems[b],
                           c.presetNotCached[b] ? "" : ", list complete");
        }
        o.appendFormat("  current list: %s (%d)\n", listTypeName(c.currentType), c.currentType);
        o.appendFormat("  list size: %d\n", c.listSize);
        for (int type = 1; type <= 6; ++type) {
            o.appendFormat("  %s items: %d\n", listTypeName(type), c.listItems[type]);
        }
        o.appendFormat("  ensemble items: %d\n", c.ensembleItems);
    }
    if (sections & kSources) {
        o.append("Source controllers:\n");
        for (const DABDumpSource& src : s.sources) {
            o.appendFormat("  %s: source %s, media status %d, reconnecting %s, attempts %d", src.name,
                           src.hasSource ? "registered" : "absent", src.mediaStatus,
                           src.reconnecting ? "yes" : "no", src.attempts);
            if (src.lastAttemptNs != 0) o.appendFormat(", last attempt %" PRId64 " ms ago", agoMs(s, src.lastAttemptNs));
            if (src.lastSuccessNs != 0) o.appendFormat(", last success %" PRId64 " ms ago", agoMs(s, src.lastSuccessNs));
            o.append("\n");
        }
    }
    if (sections & kTunerNotifications) {
        o.appendFormat("Tuner notifications (last %zu, monotonic ms):\n", s.tunerNotifications.size());
        for (size_t i = 0; i < s.tunerNotifications.size(); ++i) {
            const DABTunerNotifyRecord& r = s.tunerNotifications[i];
            o.appendFormat("  %" PRId64 ".%03" PRId64 " id=%d value=%d\n", ms(r.timeNs) / 1000, ms(r.timeNs) % 1000,
                           r.tunerId, r.value);
        }
    }
    if (sections & kClientNotifications) {
        o.appendFormat("Client notifications (last %zu, monotonic ms):\n", s.clientNotifications.size());
        for (size_t i = 0; i < s.clientNotifications.size(); ++i) {
            const DABClientNotifyRecord& r = s.clientNotifications[i];
            o.appendFormat("  %" PRId64 ".%03" PRId64 " msg=%d ext1=%d ext2=%d%s to %d clients\n", ms(r.timeNs) / 1000,
                           ms(r.timeNs) % 1000, r.msg, r.ext1, r.ext2, r.hasParcel ? " +parcel" : "", r.clients);
        }
    }
    if (sections & kLogicModes) {
        o.appendFormat("Logic-mode changes (last %zu):\n", s.logicModes.size());
        for (size_t i = 0; i < s.logicModes.size(); ++i) {
            const DABLogicModeRecord& r = s.logicModes[i];
            o.appendFormat("  %" PRId64 ".%03" PRId64 " ", ms(r.timeNs) / 1000, ms(r.timeNs) % 1000);
            if (r.reported) {
                o.appendFormat("reported %d", r.to);
            } else {
                o.appendFormat("stored %d -> %d", r.from, r.to);
            }
            o.appendFormat(" by %s\n", causeText(r.cause).string());
        }
    }
    return o;
}

String8 DABDumpFormatter::json(const DABDumpState& s, uint32_t sections) {
    String8 o("{");
    bool first = true;
    auto key = [&](const char* name) {
        o.appendFormat("%s\"%s\":", first ? "" : ",", name);
        first = false;
    };
    if (sections & kLifecycle) {
        const DABDumpLifecycle& l = s.lifecycle;
        key("lifecycle");
        o.appendFormat("{\"active\":%s,\"sourceType\":%d,\"resumed\":%s,\"suspended\":%s,"
                       "\"activationPending\":%s}",
                       l.active ? "true" : "false", l.sourceType, l.resumed ? "true" : "false",
                       l.suspended ? "true" : "false", l.activatePending ? "true" : "false");
    }
    if (sections & kStation) {
        const DABDumpStation& t = s.station;
        key("station");
        o.appendFormat("{\"band\":%d,\"preset\":", t.band);
        if (t.presetNum == 0) {
            o.append("null");
        } else {
            o.appendFormat("%d", t.presetNum);
        }
        o.appendFormat(",\"blockId\":%d", t.blockId);
        const char* labels[3] = {t.ensembleLabel, t.serviceLabel, t.compLabel};
        const char* names[3] = {"ensembleLabel", "serviceLabel", "compLabel"};
        for (int i = 0; i < 3; ++i) {
            o.appendFormat(",\"%s\":{\"text\":", names[i]);
            appendJsonString(&o, labels[i]);
            o.append(",\"charset\":");
            if (t.labelCharset[i] < 0) {
                o.append("null}");
            } else {
                o.appendFormat("%d}", t.labelCharset[i]);
            }
        }
        o.append(",\"dynamicText\":{\"text\":");
        appendJsonString(&o, t.dynamicText);
        o.appendFormat(",\"charset\":%d,\"hasData\":%s}", t.dynamicTextCharset,
                       t.dynamicTextCached == DAB_SERVER_DYNAMIC_TEXT_HAS_DATA ? "true" : "false");
        o.appendFormat(",\"logicMode\":%d,\"busy\":{\"presetUpDown\":%s,\"seekCancel\":%s,"
                       "\"presetMemory\":%s,\"manualUpDown\":%s,\"switchBand\":%s,\"sourceOnDelay\":%s}",
                       t.logicMode, t.busyPresetUpDown == 0 ? "true" : "false",
                       t.busySeekCancel == 0 ? "true" : "false", t.busyPresetMemory == 0 ? "true" : "false",
                       t.busyManualUpDown == 0 ? "true" : "false", t.busySwitchBand == 0 ? "true" : "false",
                       t.busySourceOnDelay == 0 ? "true" : "false");
        o.appendFormat(",\"seekDirection\":%d,\"errorType\":%d,\"errorPublished\":%d,\"antStatus\":%d,"
                       "\"signalLevel\":%d,\"fmLink\":%d,\"bitRate\":%d,\"ptyType\":%d,\"compTotal\":%d,"
                       "\"compNum\":%d,\"timeShift\":{\"status\":%d,\"total\":%d,\"cache\":%d,\"pause\":%d},"
                       "\"displayFormat\":%d,\"connectStatus\":%d}",
                       t.seekDirection, t.errorType, t.errorPublished, t.antStatus, t.signalLevel,
                       t.fmLink, t.bitRate, t.ptyType, t.compTotal, t.compNum, t.playbackStatus,
                       t.totalTime, t.cacheTime, t.pauseTime, t.displayFormat, t.connectStatus);
    }
    if (sections & kClients) {
        key("clients");
        o.append("[");
        for (size_t i = 0; i < s.clients.size(); ++i) {
            const DABDumpClient& c = s.clients[i];
            o.appendFormat("%s{\"pid\":%d,\"uid\":%d,\"listener\":%s,", i ? "," : "", c.pid, c.uid,
                           c.listener ? "true" : "false");
            if (c.backlogKnown) {
                o.appendFormat("\"queuedMessages\":%" PRIu64 ",\"queuedBytes\":%" PRIu64 ",", c.queuedMessages,
                               c.queuedBytes);
            } else {
                o.append("\"queuedMessages\":null,\"queuedBytes\":null,");
            }
            o.appendFormat("\"sent\":%" PRIu64 ",\"dropped\":%" PRIu64 "}", c.sent, c.dropped);
        }
        o.append("]");
    }
    if (sections & kWorker) {
        const DABDumpWorker& w = s.worker;
        key("worker");
        o.appendFormat("{\"running\":%s,\"held\":", w.running ? "true" : "false");
        if (!w.running || w.held.msgType == DAB_SERVER_QUEUE_MSG_NONE) {
            o.append("null");
        } else {
            const int64_t held = heldMs(s);
            o.appendFormat("{\"type\":\"%s\",\"msgType\":%d,\"index\":%d,\"param\":%u,\"heldMs\":%" PRId64
                           ",\"leftMs\":%" PRId64 ",\"waitEvent\":%s}",
                           queueMsgName(w.held.msgType), w.held.msgType, w.held.itemIndex, w.held.param,
                           held, leftMs(w.held.msgType, held), isWaitEvent(w.held.msgType) ? "true" : "false");
        }
        o.append(",\"queue\":[");
        for (size_t i = 0; i < w.queue.size(); ++i) {
            o.appendFormat("%s{\"type\":\"%s\",\"msgType\":%d,\"index\":%d,\"param\":%u,\"waitEvent\":%s}",
                           i ? "," : "", queueMsgName(w.queue[i].msgType), w.queue[i].msgType,
                           w.queue[i].itemIndex, w.queue[i].param,
                           isWaitEvent(w.queue[i].msgType) ? "true" : "false");
        }
        o.append("]}");
    }
    if (sections & kCache) {
        const DABDumpCache& c = s.cache;
        key("cache");
        o.append("{\"presetBands\":[");
        for (int b = 0; b < 3; ++b) {
            o.appendFormat("%s{\"band\":%d,\"items\":%d,\"complete\":%s}", b ? "," : "", b + 1,
                           c.presetItems[b], c.presetNotCached[b] ? "false" : "true");
        }
        o.appendFormat("],\"currentList\":\"%s\",\"currentType\":%d,\"listSize\":%d,\"items\":{",
                       listTypeName(c.currentType), c.currentType, c.listSize);
        for (int type = 1; type <= 6; ++type) {
            o.appendFormat("%s\"%s\":%d", type > 1 ? "," : "", listTypeName(type), c.listItems[type]);
        }
        o.appendFormat(",\"ensemble\":%d}}", c.ensembleItems);
    }
    if (sections & kSources) {
        key("sources");
        o.append("[");
        for (int i = 0; i < 2; ++i) {
            const DABDumpSource& src = s.sources[i];
            o.appendFormat("%s{\"name\":\"%s\",\"registered\":%s,\"mediaStatus\":%d,\"reconnecting\":%s,"
                           "\"attempts\":%d,\"lastAttemptMsAgo\":",
                           i ? "," : "", src.name, src.hasSource ? "true" : "false", src.mediaStatus,
                           src.reconnecting ? "true" : "false", src.attempts);
            if (src.lastAttemptNs == 0) {
                o.append("null");
            } else {
                o.appendFormat("%" PRId64, agoMs(s, src.lastAttemptNs));
            }
            o.append(",\"lastSuccessMsAgo\":");
            if (src.lastSuccessNs == 0) {
                o.append("null}");
            } else {
                o.appendFormat("%" PRId64 "}", agoMs(s, src.lastSuccessNs));
            }
        }
        o.append("]");
    }
    if (sections & kTunerNotifications) {
        key("tunerNotifications");
        o.append("[");
        for (size_t i = 0; i < s.tunerNotifications.size(); ++i) {
            const DABTunerNotifyRecord& r = s.tunerNotifications[i];
            o.appendFormat("%s{\"timeMs\":%" PRId64 ",\"id\":%d,\"value\":%d}", i ? "," : "", ms(r.timeNs),
                           r.tunerId, r.value);
        }
        o.append("]");
    }
    if (sections & kClientNotifications) {
        key("clientNotifications");
        o.append("[");
        for (size_t i = 0; i < s.clientNotifications.size(); ++i) {
            const DABClientNotifyRecord& r = s.clientNotifications[i];
            o.appendFormat("%s{\"timeMs\":%" PRId64 ",\"msg\":%d,\"ext1\":%d,\"ext2\":%d,\"parcel\":%s,"
                           "\"clients\":%d}",
                           i ? "," : "", ms(r.timeNs), r.msg, r.ext1, r.ext2, r.hasParcel ? "true" : "false",
                           r.clients);
        }
        o.append("]");
    }
    if (sections & kLogicModes) {
        key("logicModes");
        o.append("[");
        for (size_t i = 0; i < s.logicModes.size(); ++i) {
            const DABLogicModeRecord& r = s.logicModes[i];
            o.appendFormat("%s{\"timeMs\":%" PRId64 ",\"change\":\"%s\",", i ? "," : "", ms(r.timeNs),
                           r.reported ? "reported" : "stored");
            if (r.reported) {
                o.append("\"from\":null");
            } else {
                o.appendFormat("\"from\":%d", r.from);
            }
            o.appendFormat(",\"to\":%d,\"cause\":", r.to);
            causeJson(&o, r.cause);
            o.append("}");
        }
        o.append("]");
    }
    o.append("}\n");
    return o;
}
