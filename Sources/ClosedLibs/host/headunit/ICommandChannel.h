#ifndef DAB_HOST_HEADUNIT_ICOMMANDCHANNEL_H
#define DAB_HOST_HEADUNIT_ICOMMANDCHANNEL_H

#include <binder/IInterface.h>
#include <binder/Parcel.h>
#include <utils/String8.h>

namespace headunit {

// A text control channel of a host tool process (the head-unit simulator, the simulated
// tuner): one command line in, a status and the answer's text out.
class ICommandChannel : public android::IInterface {
public:
    DECLARE_META_INTERFACE(CommandChannel)

    enum { EXECUTE = android::IBinder::FIRST_CALL_TRANSACTION };

    // Any thread; blocks until the command has run. 0 done, -1 refused, 2 a usage error (the
    // output says why: kCommand* in HeadUnitNames.h); a negative transport status when the call did not get through. flags: kCommandJson for
    // one JSON object as output.
    virtual int execute(const android::String8& line, int flags, android::String8* output) = 0;
};

class BnCommandChannel : public android::BnInterface<ICommandChannel> {
public:
    // Binder threads; unmarshals the call and runs it, blocking as long as it does.
    android::status_t onTransact(uint32_t code, const android::Parcel& data,
                                 android::Parcel* reply, uint32_t flags = 0) override;
};

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_ICOMMANDCHANNEL_H
