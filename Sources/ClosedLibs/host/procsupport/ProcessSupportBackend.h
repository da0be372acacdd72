#ifndef DAB_HOST_PROCESSSUPPORTBACKEND_H
#define DAB_HOST_PROCESSSUPPORTBACKEND_H

#include <procsupport/ProcessSupport.h>
#include <utils/RefBase.h>

// What the host process support library forwards to; the default does nothing (a host process
// has no privileges to drop and no priority classes).
class ProcessSupportBackend : public virtual android::RefBase {
public:
    virtual int dropPrivileges();
    virtual int setOomAdj(int id, int status);

    // Any thread; non-blocking. Null restores the default.
    static void setCurrent(const android::sp<ProcessSupportBackend>& backend);
    static android::sp<ProcessSupportBackend> current();

protected:
    ~ProcessSupportBackend() override;
};

#endif  // DAB_HOST_PROCESSSUPPORTBACKEND_H
