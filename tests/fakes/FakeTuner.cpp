#include "FakeTuner.h"

#include "Eventually.h"

#include <algorithm>
#include <cstring>

using namespace media_lib_dab;

void FakeTuner::setGetter(const std::string& name, int value) {
    HostMutex::Autolock lock(mLock);
    mGetters[name] = value;
}

void FakeTuner::setTitle(int kind, uint32_t charset, const char* text, size_t len) {
    HostMutex::Autolock lock(mLock);
    ST_DAB_TITLE_TEXT& t = mTitles[kind];
    memset(&t, 0, sizeof(t));
    t.charset = charset;
    memcpy(t.text, text, std::min(len, sizeof(t.text)));
}

void FakeTuner::setDls(uint32_t charset, uint8_t length, uint8_t segment, const char* text,
                       size_t len) {
    HostMutex::Autolock lock(mLock);
    memset(&mDls, 0, sizeof(mDls));
    mDls.charset = charset;
    mDls.length = length;
    mDls.segment = segment;
    memcpy(mDls.text, text, std::min(len, sizeof(mDls.text)));
}

void FakeTuner::setPchItem(const ST_DAB_PCH_LIST_ITEM& item) {
    HostMutex::Autolock lock(mLock);
    mPch = item;
}

void FakeTuner::setSvcItem(const ST_DAB_SVC_LIST_DATA& item) {
    HostMutex::Autolock lock(mLock);
    mSvc = item;
}

void FakeTuner::notify(DABNotifyID id, int value) {
    DABNotifyCallback cb;
    void* cookie;
    {
        HostMutex::Autolock lock(mLock);
        cb = mCallback;
        cookie = mCookie;
    }
    if (cb != nullptr) cb(cookie, id, value);
}

std::vector<std::string> FakeTuner::commands() const {
    HostMutex::Autolock lock(mLock);
    return mCommands;
}

void FakeTuner::clearCommands() {
    HostMutex::Autolock lock(mLock);
    mCommands.clear();
}

int FakeTuner::countCommand(const std::string& text) const {
    HostMutex::Autolock lock(mLock);
    return static_cast<int>(std::count(mCommands.begin(), mCommands.end(), text));
}

bool FakeTuner::waitForCommand(const std::string& text, int count,
                               std::chrono::milliseconds timeout) const {
    return waitUntil([&] { return countCommand(text) >= count; }, timeout);
}

void FakeTuner::setCommandHook(std::function<void(const std::string&)> hook) {
    HostMutex::Autolock lock(mLock);
    mHook = std::move(hook);
}

bool FakeTuner::initialized() const {
    HostMutex::Autolock lock(mLock);
    return mInitialized;
}

bool FakeTuner::finalized() const {
    HostMutex::Autolock lock(mLock);
    return mFinalized;
}

int FakeTuner::record(const std::string& text) {
    std::function<void(const std::string&)> hook;
    {
        HostMutex::Autolock lock(mLock);
        mCommands.push_back(text);
        hook = mHook;
    }
    if (hook) hook(text);
    return 0;
}

int FakeTuner::initialize(DABNotifyCallback callback, void* cookie) {
    HostMutex::Autolock lock(mLock);
    mCallback = callback;
    mCookie = cookie;
    mInitialized = true;
    return 0;
}

int FakeTuner::finalize() {
    HostMutex::Autolock lock(mLock);
    mCallback = nullptr;
    mCookie = nullptr;
    mFinalized = true;
    return 0;
}

static std::string call(const char* name, std::initializer_list<long> args) {
    std::string s = std::string(name) + "(";
    bool first = true;
    for (long a : args) {
        if (!first) s += ",";
        s += std::to_string(a);
        first = false;
    }
    return s + ")";
}

int FakeTuner::command(const char* name) { return record(call(name, {})); }
int FakeTuner::pchMemory(int band, int preset) { return record(call("pchMemory", {band, preset})); }
int FakeTuner::pchRecall(int band, int preset) { return record(call("pchRecall", {band, preset})); }
int FakeTuner::timeShiftMove(int direction, unsigned short amount) {
    return record(call("timeShiftMove", {direction, amount}));
}
int FakeTuner::svcListAbcSearchLabelReq(unsigned char position, unsigned char letter,
                                        unsigned char reserved) {
    return record(call("svcListAbcSearchLabelReq", {position, letter, reserved}));
}
int FakeTuner::serviceRecall(unsigned char nm, unsigned short eid, unsigned long sid,
                             unsigned char scid) {
    return record(call("serviceRecall", {nm, eid, static_cast<long>(sid), scid}));
}
int FakeTuner::pchListReq(uint8_t bandCode) { return record(call("pchListReq", {bandCode})); }
int FakeTuner::ensembleListItemReq(uint8_t position) {
    return record(call("ensembleListItemReq", {position}));
}
int FakeTuner::svcCompListItemReq(uint8_t position, uint8_t r1, uint8_t r2) {
    return record(call("svcCompListItemReq", {position, r1, r2}));
}
int FakeTuner::ptyListItemReq(uint8_t position, uint8_t group) {
    return record(call("ptyListItemReq", {position, group}));
}
int FakeTuner::ensembleCompListItemReq(uint8_t position, uint16_t eid) {
    return record(call("ensembleCompListItemReq", {position, eid}));
}

int FakeTuner::getter(const char* name) {
    HostMutex::Autolock lock(mLock);
    auto it = mGetters.find(name);
    return it == mGetters.end() ? 0 : it->second;
}

int FakeTuner::getTitleData(EN_DAB_TEXT_TYPE type, ST_DAB_TITLE_TEXT* out) {
    HostMutex::Autolock lock(mLock);
    if (type < 0 || type > 2 || out == nullptr) return -1;
    *out = mTitles[type];
    return 0;
}

int FakeTuner::getDlsData(ST_DAB_DLS_TEXT* out) {
    HostMutex::Autolock lock(mLock);
    *out = mDls;
    return 0;
}

int FakeTuner::getPchListItem(ST_DAB_PCH_LIST_ITEM* out) {
    HostMutex::Autolock lock(mLock);
    *out = mPch;
    return 0;
}

int FakeTuner::getSvcListItem(ST_DAB_SVC_LIST_DATA* out) {
    HostMutex::Autolock lock(mLock);
    *out = mSvc;
    return 0;
}
