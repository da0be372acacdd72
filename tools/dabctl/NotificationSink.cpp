#include "NotificationSink.h"
#include "HostMutex.h"

using namespace android;

namespace dabclient {

NotificationSink::NotificationSink() {}
NotificationSink::~NotificationSink() {}

void NotificationSink::setHandler(Handler handler) {
    Handler old;  // released after the lock
    HostMutex::Autolock lock(mHandlerLock);
    old.swap(mHandler);
    mHandler = std::move(handler);
}

void NotificationSink::notify(int msg, int ext1, int ext2, const Parcel* obj) {
    Notification n{msg, ext1, ext2, obj != nullptr, std::string()};
    if (obj != nullptr) {
        obj->setDataPosition(0);
        const char* text = obj->readCString();
        if (text != nullptr) n.text = text;
    }
    Handler handler;
    {
        HostMutex::Autolock lock(mHandlerLock);
        handler = mHandler;
    }
    if (handler) handler(n);
}

}  // namespace dabclient
