#ifndef DAB_HOST_HEADUNIT_HEADUNITNAMES_H
#define DAB_HOST_HEADUNIT_HEADUNITNAMES_H

// Names shared by the service process's host backends, the head-unit simulator and the tools
// that drive both.
namespace headunit {

// Services of the head-unit simulator process.
constexpr const char kMediaManagerService[] = "HeadUnitMediaManager";
constexpr const char kMediaDataService[] = "HeadUnitMediaData";
constexpr const char kSysCtrlService[] = "HeadUnitSysCtrl";
constexpr const char kControlService[] = "HeadUnitControl";
// Control of the simulated tuner inside the player service process.
constexpr const char kSimControlService[] = "DABSimControl";

// The media manager's request to a source to re-create itself: notification 100, ext1 100.
constexpr int kNotifyReconnect = 100;
constexpr int kReconnectExt = 100;

// Log tag of the host backends and the simulator.
constexpr const char kLogTag[] = "HeadUnit";
constexpr int kLogTagId = 0;

// ICommandChannel::execute flags.
constexpr int kCommandJson = 1;  // answer with one JSON object instead of text

// ICommandChannel::execute statuses besides the transport's negative ones.
constexpr int kCommandDone = 0;
constexpr int kCommandRefused = -1;  // well-formed, but the simulator said no
constexpr int kCommandUsage = 2;     // unknown command, wrong arguments, number out of range

}  // namespace headunit

#endif  // DAB_HOST_HEADUNIT_HEADUNITNAMES_H
