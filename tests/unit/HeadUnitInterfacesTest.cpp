// The host-only binder interfaces between the player service process and the head-unit
// simulator: every call travels through its proxy and stub (a loopback binder stands for the
// other process), and malformed requests are refused.
#include <headunit/HeadUnitNames.h>
#include <headunit/ICommandChannel.h>
#include <headunit/IHeadUnitMediaData.h>
#include <headunit/IHeadUnitMediaManager.h>
#include <headunit/IHeadUnitSourceListener.h>
#include <headunit/IHeadUnitSysCtrl.h>
#include <headunit/IHeadUnitSysCtrlListener.h>
#include <mediamanager/Source.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace android;
using namespace headunit;

namespace {

// Stands for the other process: not a local interface, so interface_cast builds the proxy,
// and every call reaches the target's stub as a parcel. It can also fail as a dead peer.
class Loopback : public BBinder {
public:
    explicit Loopback(const sp<IBinder>& target) : mTarget(target) {}
    bool dead = false;

protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (dead) return DEAD_OBJECT;
        return mTarget->transact(code, data, reply, flags);
    }

private:
    sp<IBinder> mTarget;
};

template <typename I>
sp<I> through(const sp<IBinder>& target, sp<Loopback>* loop = nullptr) {
    sp<Loopback> l = new Loopback(target);
    if (loop != nullptr) *loop = l;
    return interface_cast<I>(l);
}

class RecordingListener : public BnHeadUnitSourceListener {
public:
    std::vector<std::string> calls;
    int answer = 1;
    int lastData = -1;
    bool lastDataNull = false;

    int onRequestActivation(int request) override {
        calls.push_back("activate " + std::to_string(request));
        return answer;
    }
    int onRequestDeactivation(int request) override {
        calls.push_back("deactivate " + std::to_string(request));
        return answer;
    }
    void onReqPublishMediaInfo() override { calls.push_back("publish"); }
    void onSourceRelease(int reason) override { calls.push_back("release " + std::to_string(reason)); }
    int onRequestPrivateData(int request, const Parcel* data, Parcel* reply) override {
        calls.push_back("private " + std::to_string(request));
        lastDataNull = (data == nullptr);
        if (data != nullptr) lastData = data->readInt32();
        reply->writeInt32(77);
        return 5;
    }
    void onNotify(int msg, int ext1, int ext2, const Parcel* data) override {
        calls.push_back("notify " + std::to_string(msg) + " " + std::to_string(ext1) + " " +
                        std::to_string(ext2));
        lastDataNull = (data == nullptr);
        if (data != nullptr) lastData = data->readInt32();
    }
};

class RecordingManager : public BnHeadUnitMediaManager {
public:
    std::string lastName;
    sp<IHeadUnitSourceListener> lastListener;
    int lastCode = 0;
    int lastStatus = 0;
    std::vector<MediaInfoParcel::Field> lastFields;

    int createSource(const String8& name, const sp<IHeadUnitSourceListener>& listener) override {
        lastName = name.string();
        lastListener = listener;
        return 0;
    }
    int registerSource(const String8& name, int code, Parcel* reply) override {
        lastName = name.string();
        lastCode = code;
        reply->writeInt32(42);
        return 3;
    }
    int publishMediaInfo(const String8& name, const MediaInfoParcel& info) override {
        lastName = name.string();
        lastFields = info.fields();
        return 0;
    }
    int setMediaStatus(const String8& name, int status) override {
        lastName = name.string();
        lastStatus = status;
        return 0;
    }
};

class RecordingSysCtrlListener : public BnHeadUnitSysCtrlListener {
public:
    std::vector<std::string> calls;
    void onSuspend() override { calls.push_back("suspend"); }
    void onResume() override { calls.push_back("resume"); }
};

class RecordingSysCtrl : public BnHeadUnitSysCtrl {
public:
    std::vector<std::string> calls;
    sp<IHeadUnitSysCtrlListener> listener;
    int attach(const sp<IHeadUnitSysCtrlListener>& l, int moduleId, int flags) override {
        listener = l;
        calls.push_back("attach " + std::to_string(moduleId) + " " + std::to_string(flags));
        return 0;
    }
    int detach(const sp<IHeadUnitSysCtrlListener>& l) override { return record("detach", l); }
    int finishSuspend(const sp<IHeadUnitSysCtrlListener>& l) override { return record("suspended", l); }
    int finishResume(const sp<IHeadUnitSysCtrlListener>& l) override { return record("resumed", l); }

private:
    int record(const char* what, const sp<IHeadUnitSysCtrlListener>& l) {
        calls.push_back(what);
        return IInterface::asBinder(l) == IInterface::asBinder(listener) ? 0 : -1;
    }
};

class EchoChannel : public BnCommandChannel {
public:
    int execute(const String8& line, int flags, String8* output) override {
        *output = String8((std::string("got ") + line.string() + " flags " + std::to_string(flags)).c_str());
        return line == String8("bad") ? -1 : 0;
    }
};

TEST(HeadUnitInterfacesTest, SourceListenerCallsTravelWithTheirArgumentsAndAnswers) {
    sp<RecordingListener> target = new RecordingListener();
    sp<Loopback> loop;
    sp<IHeadUnitSourceListener> proxy = through<IHeadUnitSourceListener>(target, &loop);
    ASSERT_NE(IInterface::asBinder(proxy), IInterface::asBinder(target));

    EXPECT_EQ(1, proxy->onRequestActivation(0));
    target->answer = 0;
    EXPECT_EQ(0, proxy->onRequestDeactivation(1));
    proxy->onReqPublishMediaInfo();
    proxy->onSourceRelease(3);
    proxy->onNotify(100, 100, 0, nullptr);
    EXPECT_TRUE(target->lastDataNull);
    Parcel data;
    data.writeInt32(9);
    proxy->onNotify(7, 8, 9, &data);
    EXPECT_FALSE(target->lastDataNull);
    EXPECT_EQ(9, target->lastData);
    Parcel reply;
    EXPECT_EQ(5, proxy->onRequestPrivateData(2, nullptr, &reply));
    EXPECT_TRUE(target->lastDataNull);
    ASSERT_EQ(4u, reply.dataSize());
    EXPECT_EQ(77, reply.readInt32());
    EXPECT_EQ((std::vector<std::string>{"activate 0", "deactivate 1", "publish", "release 3",
                                        "notify 100 100 0", "notify 7 8 9", "private 2"}),
              target->calls);

    // A source that cannot be reached counts as a failed activation.
    loop->dead = true;
    target->answer = 1;
    EXPECT_EQ(0, proxy->onRequestActivation(0));
    EXPECT_EQ(-1, proxy->onRequestPrivateData(2, nullptr, &reply));
}

TEST(HeadUnitInterfacesTest, MediaManagerCallsCarryNameListenerRecordAndReply) {
    sp<RecordingManager> target = new RecordingManager();
    sp<Loopback> loop;
    sp<IHeadUnitMediaManager> proxy = through<IHeadUnitMediaManager>(target, &loop);
    sp<RecordingListener> listener = new RecordingListener();

    EXPECT_EQ(0, proxy->createSource(String8("dab"), listener));
    EXPECT_EQ("dab", target->lastName);
    // In one process the listener arrives as itself.
    EXPECT_EQ(IInterface::asBinder(listener), IInterface::asBinder(target->lastListener));

    Parcel reply;
    EXPECT_EQ(3, proxy->registerSource(String8("tadab"), 12, &reply));
    EXPECT_EQ("tadab", target->lastName);
    EXPECT_EQ(12, target->lastCode);
    // The caller reads the manager's reply data from where it starts.
    EXPECT_EQ(4u, reply.dataAvail());
    EXPECT_EQ(42, reply.readInt32());

    MediaInfoParcel info;
    info.writeMediaSourceID(String8(INFOBAR_SRCNAME_DAB));
    info.writeDABLabel(String8("Café Hits"));
    info.writePresetStationNumber(INFOBAR_CLEAR_INTCONTENT);
    EXPECT_EQ(0, proxy->publishMediaInfo(String8("dab"), info));
    ASSERT_EQ(3u, target->lastFields.size());
    EXPECT_EQ(MediaInfoParcel::FIELD_DAB_LABEL, target->lastFields[1].kind);
    EXPECT_STREQ("Café Hits", target->lastFields[1].text.string());
    EXPECT_EQ(-1, target->lastFields[2].value);

    EXPECT_EQ(0, proxy->setMediaStatus(String8("dab"), MEDIA_STATUS_CONNECTED));
    EXPECT_EQ(3, target->lastStatus);

    loop->dead = true;
    EXPECT_EQ(-1, proxy->createSource(String8("dab"), listener));
    EXPECT_EQ(-1, proxy->publishMediaInfo(String8("dab"), info));
}

TEST(HeadUnitInterfacesTest, SysCtrlKnowsTheModuleByItsListener) {
    sp<RecordingSysCtrl> target = new RecordingSysCtrl();
    sp<IHeadUnitSysCtrl> proxy = through<IHeadUnitSysCtrl>(target);
    sp<RecordingSysCtrlListener> listener = new RecordingSysCtrlListener();
    sp<RecordingSysCtrlListener> stranger = new RecordingSysCtrlListener();

    EXPECT_EQ(0, proxy->attach(listener, 13, 0));
    EXPECT_EQ(0, proxy->finishResume(listener));
    EXPECT_EQ(-1, proxy->finishSuspend(stranger));
    EXPECT_EQ(0, proxy->detach(listener));
    EXPECT_EQ((std::vector<std::string>{"attach 13 0", "resumed", "suspended", "detach"}), target->calls);

    sp<IHeadUnitSysCtrlListener> listenerProxy = through<IHeadUnitSysCtrlListener>(listener);
    listenerProxy->onResume();
    listenerProxy->onSuspend();
    EXPECT_EQ((std::vector<std::string>{"resume", "suspend"}), listener->calls);
}

TEST(HeadUnitInterfacesTest, CommandChannelReturnsStatusAndOutputOrTheTransportError) {
    sp<Loopback> loop;
    sp<ICommandChannel> proxy = through<ICommandChannel>(new EchoChannel(), &loop);
    String8 out;
    EXPECT_EQ(0, proxy->execute(String8("infobar"), kCommandJson, &out));
    EXPECT_STREQ("got infobar flags 1", out.string());
    EXPECT_EQ(-1, proxy->execute(String8("bad"), 0, &out));
    EXPECT_STREQ("got bad flags 0", out.string());
    loop->dead = true;
    EXPECT_EQ(DEAD_OBJECT, proxy->execute(String8("ping"), 0, &out));
}

TEST(HeadUnitInterfacesTest, StubsRefuseMalformedRequests) {
    sp<RecordingManager> manager = new RecordingManager();
    Parcel reply;
    {
        Parcel wrongToken;
        wrongToken.writeInterfaceToken(IHeadUnitSysCtrl::descriptor);
        wrongToken.writeString8(String8("dab"));
        EXPECT_EQ(PERMISSION_DENIED,
                  manager->transact(IHeadUnitMediaManager::SET_MEDIA_STATUS, wrongToken, &reply));
    }
    {
        Parcel noListener;
        noListener.writeInterfaceToken(IHeadUnitMediaManager::descriptor);
        noListener.writeString8(String8("dab"));
        noListener.writeStrongBinder(nullptr);
        EXPECT_EQ(BAD_VALUE, manager->transact(IHeadUnitMediaManager::CREATE_SOURCE, noListener, &reply));
        EXPECT_EQ(nullptr, manager->lastListener);
    }
    {
        // A record announcing more fields than it holds.
        Parcel truncated;
        truncated.writeInterfaceToken(IHeadUnitMediaManager::descriptor);
        truncated.writeString8(String8("dab"));
        truncated.writeInt32(3);
        truncated.writeInt32(MediaInfoParcel::FIELD_PRESET_STATION_NUMBER);
        EXPECT_EQ(BAD_VALUE,
                  manager->transact(IHeadUnitMediaManager::PUBLISH_MEDIA_INFO, truncated, &reply));
        EXPECT_TRUE(manager->lastFields.empty());
    }
    {
        Parcel shortStatus;
        shortStatus.writeInterfaceToken(IHeadUnitMediaManager::descriptor);
        shortStatus.writeString8(String8("dab"));
        EXPECT_EQ(BAD_VALUE, manager->transact(IHeadUnitMediaManager::SET_MEDIA_STATUS, shortStatus, &reply));
    }
    sp<RecordingListener> listener = new RecordingListener();
    {
        Parcel shortNotify;
        shortNotify.writeInterfaceToken(IHeadUnitSourceListener::descriptor);
        shortNotify.writeInt32(100);
        EXPECT_EQ(BAD_VALUE, listener->transact(IHeadUnitSourceListener::ON_NOTIFY, shortNotify, nullptr,
                                                IBinder::FLAG_ONEWAY));
        EXPECT_TRUE(listener->calls.empty());
    }
    // Codes the interface does not have are the base binder's business.
    Parcel empty;
    EXPECT_EQ(UNKNOWN_TRANSACTION, manager->transact(IHeadUnitMediaManager::SET_MEDIA_STATUS + 1, empty, &reply));
}

}  // namespace
