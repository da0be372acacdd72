#ifndef DAB_HOST_RECORDINGSYSCTRLBACKEND_H
#define DAB_HOST_RECORDINGSYSCTRLBACKEND_H

#include "HostMutex.h"
#include "SysCtrlBackend.h"

#include <map>

namespace android {

// Forwards to the system control backend it wraps with a client of its own per attached
// client, whose listener records suspend and resume.
class RecordingSysCtrlBackend : public SysCtrlBackend {
public:
    // Any thread; non-blocking. backend itself when nothing is recorded, else its decorator.
    static sp<SysCtrlBackend> wrapIfRecording(const sp<SysCtrlBackend>& backend);

    // The service's threads; block as long as the wrapped backend does.
    int attach(SysCtrlManagerIF* client, int moduleId, int flags) override;
    void detach(SysCtrlManagerIF* client) override;
    int finishSuspend(SysCtrlManagerIF* client) override;
    int finishResume(SysCtrlManagerIF* client) override;

private:
    explicit RecordingSysCtrlBackend(const sp<SysCtrlBackend>& inner);
    // The stand-in of client (created on first use), or client itself for a stand-in.
    SysCtrlManagerIF* standIn(SysCtrlManagerIF* client);

    const sp<SysCtrlBackend> mInner;  // immutable
    HostMutex mStandInsLock;          // guards mStandIns
    // Stand-ins live as long as the process: the system control thread may still hold one.
    std::map<SysCtrlManagerIF*, SysCtrlManagerIF*> mStandIns GUARDED_BY(mStandInsLock);
};

}  // namespace android

#endif  // DAB_HOST_RECORDINGSYSCTRLBACKEND_H
