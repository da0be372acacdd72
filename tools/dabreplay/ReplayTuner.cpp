#include "ReplayTuner.h"
#include "HostMutex.h"

#include <cctype>
#include <cstring>

using namespace media_lib_dab;

namespace {

std::string callText(const char* name, std::initializer_list<long> args) {
    std::string s = std::string(name) + "(";
    bool first = true;
    for (long a : args) {
        if (!first) s += ",";
        s += std::to_string(a);
        first = false;
    }
    return s + ")";
}

}  // namespace

ReplayTuner::ReplayTuner() { memset(mPresets, 0, sizeof(mPresets)); }

template <typename T>
T ReplayTuner::take(std::deque<T>* sequence) {
    if (sequence->empty()) {
        T zero;
        memset(&zero, 0, sizeof(zero));
        return zero;
    }
    T front = sequence->front();
    if (sequence->size() > 1) sequence->pop_front();
    return front;
}

void ReplayTuner::setGetter(const std::string& name, const std::vector<int>& values, bool append) {
    HostMutex::Autolock lock(mTunerLock);
    std::deque<int>& seq = mGetters[name];
    if (!append) seq.clear();
    seq.insert(seq.end(), values.begin(), values.end());
}

void ReplayTuner::setTitle(int kind, const ST_DAB_TITLE_TEXT& title, bool append) {
    HostMutex::Autolock lock(mTunerLock);
    if (!append) mTitles[kind].clear();
    mTitles[kind].push_back(title);
}

void ReplayTuner::setDls(const ST_DAB_DLS_TEXT& dls, bool append) {
    HostMutex::Autolock lock(mTunerLock);
    if (!append) mDls.clear();
    mDls.push_back(dls);
}

void ReplayTuner::setPch(const ST_DAB_PCH_LIST_ITEM& item, bool append) {
    HostMutex::Autolock lock(mTunerLock);
    if (!append) mPch.clear();
    mPch.push_back(item);
}

void ReplayTuner::setSvc(const ST_DAB_SVC_LIST_DATA& item, bool append) {
    HostMutex::Autolock lock(mTunerLock);
    if (!append) mSvc.clear();
    mSvc.push_back(item);
}

void ReplayTuner::setPreset(int bank, int number, const ST_DAB_PCH_LIST_ITEM& item) {
    HostMutex::Autolock lock(mTunerLock);
    mPresets[bank - 1][number - 1] = item;
}

void ReplayTuner::addListEntry(const std::string& kind, const ST_DAB_SVC_LIST_DATA& item) {
    HostMutex::Autolock lock(mTunerLock);
    mLists[kind].push_back(item);
}

void ReplayTuner::setAnswering(bool on, int delayMs) {
    HostMutex::Autolock lock(mTunerLock);
    mAnswering = on;
    mAnswerDelayMs = delayMs;
    if (on && !mAnswerThread.joinable()) {
        mAnswerThread = std::thread([this] { answerLoop(); });
        mAnswerThreadId = mAnswerThread.get_id();
        // Lives until the process ends, like the replay's service.
        mAnswerThread.detach();
    }
}

void ReplayTuner::setCommandHook(std::function<void(const std::string&)> hook) {
    HostMutex::Autolock lock(mTunerLock);
    mHook = std::move(hook);
}

void ReplayTuner::notify(int id, int value) {
    DABNotifyCallback cb;
    void* cookie;
    {
        HostMutex::Autolock lock(mTunerLock);
        cb = mCallback;
        cookie = mCookie;
    }
    if (cb != nullptr) cb(cookie, static_cast<DABNotifyID>(id), value);
}

int ReplayTuner::initialize(DABNotifyCallback callback, void* cookie) {
    HostMutex::Autolock lock(mTunerLock);
    mCallback = callback;
    mCookie = cookie;
    return 0;
}

int ReplayTuner::hooked(const std::string& text) {
    std::function<void(const std::string&)> hook;
    {
        HostMutex::Autolock lock(mTunerLock);
        hook = mHook;
    }
    if (hook) hook(text);
    return 0;
}

int ReplayTuner::command(const char* name) { return hooked(callText(name, {})); }
int ReplayTuner::pchMemory(int band, int preset) { return hooked(callText("pchMemory", {band, preset})); }
int ReplayTuner::pchRecall(int band, int preset) { return hooked(callText("pchRecall", {band, preset})); }
int ReplayTuner::timeShiftMove(int direction, unsigned short amount) {
    return hooked(callText("timeShiftMove", {direction, amount}));
}
int ReplayTuner::serviceRecall(unsigned char nm, unsigned short eid, unsigned long sid, unsigned char scid) {
    return hooked(callText("serviceRecall", {nm, eid, static_cast<long>(sid), scid}));
}

int ReplayTuner::pchListReq(uint8_t bandCode) {
    hooked(callText("pchListReq", {bandCode}));
    HostMutex::Autolock lock(mTunerLock);
    if (!mAnswering || bandCode > 3) return 0;
    int bank = bandCode + 1;
    if (bandCode == 3) {
        auto it = mGetters.find("getBand");
        bank = (it == mGetters.end() || it->second.empty()) ? 0 : it->second.back();
    }
    if (bank < 1 || bank > 3) return 0;
    std::vector<Answer> answers;
    for (int n = 1; n <= 6; ++n) {
        Answer a;
        memset(&a, 0, sizeof(a));
        a.id = DAB_NOTIFY_PRESET_ITEM;
        a.value = n;
        a.isPch = true;
        a.pch = mPresets[bank - 1][n - 1];
        a.pch.band = static_cast<uint32_t>(bank - 1);
        a.pch.pchNum = static_cast<uint8_t>(n);
        // An empty slot still names a channel, the first one, as the tuner does.
        if (a.pch.nm == 0) a.pch.nm = 13;
        answers.push_back(a);
    }
    queueAnswersLocked(answers);
    return 0;
}

void ReplayTuner::answerItemLocked(const std::string& kind, int position) {
    if (!mAnswering) return;
    const std::vector<ST_DAB_SVC_LIST_DATA>& list = mLists[kind];
    Answer a;
    memset(&a, 0, sizeof(a));
    a.id = DAB_NOTIFY_SVC_LIST_ITEM;
    a.value = position;
    const int size = static_cast<int>(list.size());
    if (position >= 1 && position <= size) {
        a.svc = list[position - 1];
        a.svc.valid = 1;
    }
    a.svc.curnum_all = static_cast<uint8_t>(size);
    a.svc.curnum_pos = static_cast<uint8_t>(size > 0 ? position : 0);
    queueAnswersLocked({a});
}

int ReplayTuner::ensembleListItemReq(uint8_t position) {
    hooked(callText("ensembleListItemReq", {position}));
    HostMutex::Autolock lock(mTunerLock);
    answerItemLocked("ensemble", position);
    return 0;
}

int ReplayTuner::svcCompListItemReq(uint8_t position, uint8_t r1, uint8_t r2) {
    hooked(callText("svcCompListItemReq", {position, r1, r2}));
    HostMutex::Autolock lock(mTunerLock);
    answerItemLocked("service", position);
    return 0;
}

int ReplayTuner::ptyListItemReq(uint8_t position, uint8_t group) {
    hooked(callText("ptyListItemReq", {position, group}));
    HostMutex::Autolock lock(mTunerLock);
    if (group >= 1 && group <= 4) answerItemLocked("pty" + std::to_string(group), position);
    return 0;
}

int ReplayTuner::ensembleCompListItemReq(uint8_t position, uint16_t eid) {
    hooked(callText("ensembleCompListItemReq", {position, eid}));
    HostMutex::Autolock lock(mTunerLock);
    answerItemLocked("component" + std::to_string(eid), position);
    return 0;
}

int ReplayTuner::svcListAbcSearchLabelReq(unsigned char position, unsigned char letter, unsigned char reserved) {
    hooked(callText("svcListAbcSearchLabelReq", {position, letter, reserved}));
    HostMutex::Autolock lock(mTunerLock);
    if (!mAnswering) return 0;
    // The first service from position on whose label starts with the letter (0: with no
    // Latin letter); the answer is its position, 0 when none matched.
    const std::vector<ST_DAB_SVC_LIST_DATA>& list = mLists["service"];
    const int size = static_cast<int>(list.size());
    int found = 0;
    for (int i = position < 1 ? 1 : position; i <= size && found == 0; ++i) {
        const unsigned char first = static_cast<unsigned char>(list[i - 1].label[0]);
        const bool latin = isalpha(first) != 0;
        if (letter == 0 ? (first != 0 && !latin) : (latin && toupper(first) == toupper(letter))) found = i;
    }
    Answer a;
    memset(&a, 0, sizeof(a));
    a.id = DAB_NOTIFY_SVC_LIST_ITEM;
    a.value = found;
    if (found != 0) a.svc = list[found - 1];
    a.svc.valid = 1;
    a.svc.curnum_all = a.svc.listnum_all = static_cast<uint8_t>(size);
    a.svc.curnum_pos = a.svc.listnum_pos = static_cast<uint8_t>(found);
    queueAnswersLocked({a});
    return 0;
}

void ReplayTuner::queueAnswersLocked(std::vector<Answer> answers) {
    auto due = std::chrono::steady_clock::now();
    if (!mAnswers.empty() && mAnswers.back().first > due) due = mAnswers.back().first;
    for (Answer& a : answers) {
        due += std::chrono::milliseconds(mAnswerDelayMs);
        mAnswers.emplace_back(due, a);
    }
    mQueued.notify_all();
}

void ReplayTuner::answerLoop() {
    HostMutex::Autolock lock(mTunerLock);
    for (;;) {
        mQueued.wait(lock.native(), [this]() REQUIRES(mTunerLock) { return !mAnswers.empty(); });
        const auto due = mAnswers.front().first;
        if (std::chrono::steady_clock::now() < due) {
            mQueued.wait_until(lock.native(), due);
            continue;
        }
        Answer answer = mAnswers.front().second;
        mAnswers.pop_front();
        mDelivering = &answer;
        DABNotifyCallback cb = mCallback;
        void* cookie = mCookie;
        lock.unlock();
        if (cb != nullptr) cb(cookie, static_cast<DABNotifyID>(answer.id), answer.value);
        lock.lock();
        mDelivering = nullptr;
    }
}

int ReplayTuner::getter(const char* name) {
    HostMutex::Autolock lock(mTunerLock);
    auto it = mGetters.find(name);
    return it == mGetters.end() ? 0 : take(&it->second);
}

int ReplayTuner::getTitleData(EN_DAB_TEXT_TYPE type, ST_DAB_TITLE_TEXT* out) {
    HostMutex::Autolock lock(mTunerLock);
    if (type < 0 || type > 2 || out == nullptr) return -1;
    *out = take(&mTitles[type]);
    return 0;
}

int ReplayTuner::getDlsData(ST_DAB_DLS_TEXT* out) {
    HostMutex::Autolock lock(mTunerLock);
    if (out == nullptr) return -1;
    *out = take(&mDls);
    return 0;
}

int ReplayTuner::getPchListItem(ST_DAB_PCH_LIST_ITEM* out) {
    HostMutex::Autolock lock(mTunerLock);
    if (out == nullptr) return -1;
    const bool answering = mDelivering != nullptr && std::this_thread::get_id() == mAnswerThreadId;
    *out = answering && mDelivering->isPch ? mDelivering->pch : take(&mPch);
    return 0;
}

int ReplayTuner::getSvcListItem(ST_DAB_SVC_LIST_DATA* out) {
    HostMutex::Autolock lock(mTunerLock);
    if (out == nullptr) return -1;
    const bool answering = mDelivering != nullptr && std::this_thread::get_id() == mAnswerThreadId;
    *out = answering && !mDelivering->isPch ? mDelivering->svc : take(&mSvc);
    return 0;
}
