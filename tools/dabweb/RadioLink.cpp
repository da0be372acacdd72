#include "RadioLink.h"

#include "ControlClient.h"
#include "DABServerDefs.h"
#include "HostMutex.h"
#include "PlayerOperations.h"

#include <codeconver/CodeConver.h>
#include <headunit/HeadUnitNames.h>

#include <algorithm>
#include <cstdio>

using namespace android;
using dabclient::Notification;
using json = nlohmann::ordered_json;

namespace dabweb {

namespace {
constexpr auto kReconnectInterval = std::chrono::milliseconds(500);
// The information bar follows the service's publications: read at most this often.
constexpr auto kInfobarInterval = std::chrono::milliseconds(150);
constexpr auto kIdleWake = std::chrono::milliseconds(200);
constexpr auto kPresetReadDelay = std::chrono::milliseconds(40);
constexpr auto kPresetRecheckDelay = std::chrono::milliseconds(600);

bool changesInfobar(int id) {
    switch (id) {
        case DAB_SERVER_NOTIFY_FREQ_CHANGE:
        case DAB_SERVER_NOTIFY_ENSEMBLE_LABEL_CHANGE:
        case DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE:
        case DAB_SERVER_NOTIFY_COMP_LABEL_CHANGE:
        case DAB_SERVER_NOTIFY_COMP_NUM_CHANGE:
        case DAB_SERVER_NOTIFY_DYNAMIC_TEXT_UPDATE:
        case DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE:
        case DAB_SERVER_NOTIFY_PRESET_NUM_CHANGE:
        case DAB_SERVER_NOTIFY_ANT_STATUS_CHANGED:
        case DAB_SERVER_NOTIFY_ERROR_INFO_NOTIFIED:
            return true;
        default:
            return false;
    }
}
}  // namespace

RadioLink::RadioLink(RadioModel& model, EventHub& hub)
    : mModel(model), mHub(hub), mStopping(false), mDied(false), mGeneration(0), mNotifySeq(0),
      mNeedResync(false), mInfobarDirty(false), mPresetsDue(0), mPresetsRecheck(0) {}

RadioLink::~RadioLink() { stop(); }

void RadioLink::start() { mThread = std::thread(&RadioLink::threadLoop, this); }

void RadioLink::stop() {
    {
        HostMutex::Autolock lock(mQueueLock);
        mStopping = true;
    }
    mQueueChanged.notify_all();
    if (mThread.joinable()) mThread.join();
}

sp<IDABPlayer> RadioLink::player() {
    HostMutex::Autolock lock(mConnectionLock);
    return mConnection != nullptr ? mConnection->player() : nullptr;
}

bool RadioLink::waitForStop(std::chrono::milliseconds d) {
    HostMutex::Autolock lock(mQueueLock);
    return mQueueChanged.wait_for(lock.native(), d, [this]() REQUIRES(mQueueLock) { return mStopping; });
}

bool RadioLink::connect() {
    sp<dabclient::PlayerConnection> c = new dabclient::PlayerConnection();
    std::string error;
    if (c->connect(&error) != dabclient::PlayerConnection::CONNECTED) return false;
    unsigned generation = 0;
    {
        HostMutex::Autolock lock(mQueueLock);
        generation = ++mGeneration;
        mDied = false;
        mQueue.clear();
    }
    c->sink()->setHandler([this, generation](const Notification& n) {
        {
            HostMutex::Autolock lock(mQueueLock);
            mQueue.push_back(Queued{generation, n});
        }
        mQueueChanged.notify_all();
    });
    c->setOnDeath([this, generation] {
        {
            HostMutex::Autolock lock(mQueueLock);
            if (generation == mGeneration) mDied = true;
        }
        mQueueChanged.notify_all();
    });
    {
        HostMutex::Autolock lock(mConnectionLock);
        mConnection = c;
    }
    fprintf(stderr, "dabweb: connected to the DAB player service\n");
    resync();
    return true;
}

void RadioLink::resync() {
    sp<IDABPlayer> p = player();
    if (p == nullptr) return;
    const dabclient::RadioSnapshot snapshot = dabclient::RadioSnapshot::take(*p);
    json presets = json::array();
    for (int band = 1; band <= RadioModel::kBands; ++band) {
        json row = json::array();
        for (int i = 0; i < dabclient::RadioSnapshot::kPresetsPerBand; ++i) {
            char label[DAB_PLAYER_LABEL_SIZE] = {};
            int code = EN_CODE_CONVER_NONE;
            int labelAvail = 0;
            const int r = p->getPresetListItem(band, i, label, &code, &labelAvail);
            row.push_back(RadioModel::presetJson(
                    r, r == 0 ? dabclient::convertText(label, sizeof(label), code) : dabclient::ConvertedText(),
                    labelAvail));
        }
        presets.push_back(row);
    }
    mNeedResync = !snapshot.active();
    mModel.reset(snapshot, presets);
    mHub.publish("state", mModel.state());
    mInfobarDirty = true;
}

void RadioLink::refreshInfobar() {
    mInfobarDirty = false;
    mLastInfobar = std::chrono::steady_clock::now();
    std::string out;
    json bar = nullptr;
    if (dabclient::ControlClient::execute(headunit::kControlService, "infobar", true, &out) == 0) {
        json parsed = json::parse(out, nullptr, false);
        if (!parsed.is_discarded() && parsed.is_object() && parsed.contains("infobar")) bar = parsed["infobar"];
    }
    mHub.publish("patch", mModel.setInfobar(bar));
}

void RadioLink::handle(const Notification& n) {
    mHub.publish("notify", mModel.apply(n, ++mNotifySeq));
    if (changesInfobar(n.id)) mInfobarDirty = true;
    sp<IDABPlayer> p = player();
    if (p == nullptr) return;
    if (n.id == DAB_SERVER_NOTIFY_PRESET_ITEM_UPDATE) {
        if (n.ext1 >= 1 && n.ext1 <= RadioModel::kBands && n.ext2 >= 0 &&
            n.ext2 < dabclient::RadioSnapshot::kPresetsPerBand) {
            if (mPresetsDue == 0) mPresetsDueAt = std::chrono::steady_clock::now() + kPresetReadDelay;
            mPresetsDue |= 1u << (n.ext1 * 8 + n.ext2);
        }
        return;
    }
    if (!n.hasParcel) {
        const char* getter = nullptr;
        const char* key = nullptr;
        switch (n.id) {
            case DAB_SERVER_NOTIFY_ENSEMBLE_LABEL_CHANGE: getter = "getEnsembleLabel"; key = "ensembleLabel"; break;
            case DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE: getter = "getServiceLabel"; key = "serviceLabel"; break;
            case DAB_SERVER_NOTIFY_COMP_LABEL_CHANGE: getter = "getCompLabel"; key = "compLabel"; break;
            case DAB_SERVER_NOTIFY_DYNAMIC_TEXT_UPDATE: getter = "getDynamicText"; key = "dynamicText"; break;
            default: break;
        }
        // The service asks its clients to read it again (or cleared the text).
        if (getter != nullptr) {
            const dabclient::OpResult r = dabclient::findOperation(getter)->call(*p, {});
            if (dabclient::isTransportError(r.result)) return;
            json value = nullptr;
            if (r.result == 0 && !r.outputs.empty()) {
                const dabclient::ConvertedText& t = r.outputs[0].text;
                value = t.converted ? json(t.utf8) : json{{"hex", t.hex}};
            }
            mHub.publish("patch", mModel.setText(key, value));
            return;
        }
    }
    const RadioModel::ListKind* kind = RadioModel::listOfNotify(n.id);
    if (kind != nullptr && n.id == kind->itemId) {
        const dabclient::PlayerOperation* getter = dabclient::findOperation(kind->getter);
        if (getter == nullptr) return;
        const dabclient::OpResult r = getter->call(*p, {n.ext1});
        // -1: the list was replaced meanwhile; its own notifications follow.
        if (r.result != 0 && r.result != 1) return;
        json item = RadioModel::itemJson(r.result, r.outputs.empty() ? dabclient::ConvertedText()
                                                                      : r.outputs[0].text);
        json patch = mModel.setListItem(*kind, n.ext1, item);
        if (!patch.empty()) mHub.publish("item", patch);
    }
}

void RadioLink::readPresets(bool lastPass) {
    uint32_t& due = lastPass ? mPresetsRecheck : mPresetsDue;
    const uint32_t bits = due;
    due = 0;
    if (!lastPass) {
        if (mPresetsRecheck == 0) mPresetsRecheckAt = std::chrono::steady_clock::now() + kPresetRecheckDelay;
        mPresetsRecheck |= bits;
    }
    sp<IDABPlayer> p = player();
    if (p == nullptr) return;
    json presets;
    for (int band = 1; band <= RadioModel::kBands; ++band) {
        for (int i = 0; i < dabclient::RadioSnapshot::kPresetsPerBand; ++i) {
            if ((bits & (1u << (band * 8 + i))) == 0) continue;
            char label[DAB_PLAYER_LABEL_SIZE] = {};
            int code = EN_CODE_CONVER_NONE;
            int labelAvail = 0;
            const int r = p->getPresetListItem(band, i, label, &code, &labelAvail);
            if (r != 0 && r != 1) continue;
            presets = mModel.setPreset(band, i, RadioModel::presetJson(
                    r, r == 0 ? dabclient::convertText(label, sizeof(label), code) : dabclient::ConvertedText(),
                    labelAvail));
        }
    }
    if (!presets.empty() && !presets.is_null()) mHub.publish("patch", presets);
}

void RadioLink::disconnected() {
    sp<dabclient::PlayerConnection> old;
    {
        HostMutex::Autolock lock(mConnectionLock);
        old = mConnection;
        mConnection = nullptr;
    }
    if (old != nullptr) old->sink()->setHandler(nullptr);
    {
        HostMutex::Autolock lock(mQueueLock);
        mDied = false;
        mQueue.clear();
        ++mGeneration;
    }
    mPresetsDue = mPresetsRecheck = 0;
    fprintf(stderr, "dabweb: the DAB player service went away; reconnecting\n");
    mHub.publish("patch", mModel.setRunning(false));
}

void RadioLink::threadLoop() {
    mHub.publish("patch", mModel.setRunning(false));
    while (true) {
        if (player() == nullptr) {
            if (connect()) continue;
            if (waitForStop(kReconnectInterval)) return;
            continue;
        }
        std::deque<Queued> batch;
        bool died = false;
        {
            HostMutex::Autolock lock(mQueueLock);
            auto wake = std::chrono::steady_clock::now() + kIdleWake;
            if (mPresetsDue != 0) wake = std::min(wake, mPresetsDueAt);
            if (mPresetsRecheck != 0) wake = std::min(wake, mPresetsRecheckAt);
            mQueueChanged.wait_until(lock.native(), wake,
                                     [this]() REQUIRES(mQueueLock) { return mStopping || mDied || !mQueue.empty(); });
            if (mStopping) return;
            died = mDied;
            batch.swap(mQueue);
            for (auto it = batch.begin(); it != batch.end();) {
                it = it->generation == mGeneration ? it + 1 : batch.erase(it);
            }
        }
        for (const Queued& q : batch) handle(q.n);
        if (died) {
            disconnected();
            continue;
        }
        // A service that was not yet an active source answers everything once it is.
        if (mNeedResync && !batch.empty()) resync();
        const auto now = std::chrono::steady_clock::now();
        if (mPresetsDue != 0 && now >= mPresetsDueAt) readPresets(false);
        if (mPresetsRecheck != 0 && now >= mPresetsRecheckAt) readPresets(true);
        if (mInfobarDirty && now - mLastInfobar >= kInfobarInterval) {
            refreshInfobar();
        }
    }
}

}  // namespace dabweb
