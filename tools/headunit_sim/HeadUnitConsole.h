#ifndef DAB_TOOLS_HEADUNIT_SIM_HEADUNITCONSOLE_H
#define DAB_TOOLS_HEADUNIT_SIM_HEADUNITCONSOLE_H

#include "SimMediaData.h"
#include "SimMediaManager.h"
#include "SimSysCtrl.h"

#include <headunit/ICommandChannel.h>

#include <functional>
#include <string>
#include <vector>

// The simulator's control commands, from its standard input and over its "HeadUnitControl"
// binder service: show the information bar, the sources and their media status, activate or
// deactivate a source, suspend, resume, restart the media manager, show the "DABError"
// history. Text for people, or one JSON object for scripts.
class HeadUnitConsole : public headunit::BnCommandChannel {
public:
    // Any thread; non-blocking. onQuit runs (once per quit command) after its answer is built.
    HeadUnitConsole(const android::sp<SimMediaManager>& mediaManager,
                    const android::sp<SimMediaData>& mediaData,
                    const android::sp<SimSysCtrl>& sysCtrl, std::function<void()> onQuit);

    // Any thread; blocks while a source answers an activation, a deactivation or a request
    // for media information. 0 done, -1 refused or unknown (the output says why).
    int execute(const android::String8& line, int flags, android::String8* output) override;
    // The same for in-process callers (standard input, tests); blocks likewise.
    int run(const std::string& line, bool json, std::string* output);

    // Any thread; non-blocking. The command list.
    static const char* helpText();

protected:
    ~HeadUnitConsole() override;

private:
    std::string sourcesText() const;
    std::string infobarText() const;
    std::string powerText() const;
    std::string errorsText(const std::string& key) const;
    std::string recordsText(size_t max) const;
    std::string statusText() const;

    const android::sp<SimMediaManager> mMediaManager;  // immutable
    const android::sp<SimMediaData> mMediaData;        // immutable
    const android::sp<SimSysCtrl> mSysCtrl;            // immutable
    const std::function<void()> mOnQuit;               // immutable
};

#endif  // DAB_TOOLS_HEADUNIT_SIM_HEADUNITCONSOLE_H
