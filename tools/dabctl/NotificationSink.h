#ifndef DAB_TOOLS_DABCTL_NOTIFICATIONSINK_H
#define DAB_TOOLS_DABCTL_NOTIFICATIONSINK_H

#include "HostMutex.h"

#include <dabplayer/IDABPlayerClient.h>

#include <functional>
#include <string>

namespace dabclient {

// One notification as an application receives it.
struct Notification {
    int id;
    int ext1;
    int ext2;
    bool hasParcel;
    std::string text;  // the C string the parcel holds (UTF-8, converted by the service)
};

// The application's callback object: hands every notification to a handler, in the order
// the service sent them (one-way calls to one object arrive in order).
class NotificationSink : public android::BnDABPlayerClient {
public:
    using Handler = std::function<void(const Notification&)>;

    // Any thread; non-blocking.
    NotificationSink();

    // Any thread; non-blocking. Null drops notifications. The handler runs on binder threads
    // and must not block for long.
    void setHandler(Handler handler);

    // Binder threads; runs the handler.
    void notify(int msg, int ext1, int ext2, const android::Parcel* obj) override;

protected:
    ~NotificationSink() override;

private:
    HostMutex mHandlerLock;  // guards mHandler
    Handler mHandler GUARDED_BY(mHandlerLock);  // copied before it runs
};

}  // namespace dabclient

#endif  // DAB_TOOLS_DABCTL_NOTIFICATIONSINK_H
