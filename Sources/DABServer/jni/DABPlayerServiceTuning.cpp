// Placeholder until this concern lands: every operation refuses.
#include "DABPlayerService.h"

using namespace android;

int DABPlayerService::manualUp() { return -1; }
int DABPlayerService::manualDown() { return -1; }
int DABPlayerService::presetSeekUp() { return -1; }
int DABPlayerService::presetSeekDown() { return -1; }
int DABPlayerService::switchBand() { return -1; }
int DABPlayerService::recall(int) { return -1; }
int DABPlayerService::presetListRecall(int, int) { return -1; }
int DABPlayerService::presetUpRecall() { return -1; }
int DABPlayerService::presetDownRecall() { return -1; }
int DABPlayerService::memory(int) { return -1; }
int DABPlayerService::presetListMemory(int, int) { return -1; }
int DABPlayerService::clearSourceOnDelayStatus() { return 0; }
int DABPlayerService::clearSwitchBandStatus() { return 0; }
int DABPlayerService::clearManualUpDownStatus() { return 0; }
int DABPlayerService::clearPresetUpDownStatus() { return 0; }
int DABPlayerService::clearPresetUpDownStatusForRecall() { return 0; }
int DABPlayerService::clearDisplayStatus() { return 0; }
int DABPlayerService::clearAllTimingStatus() { return 0; }
void DABPlayerService::onWaitEventTimeOut(int) {}
void DABPlayerService::registerWaitEvent(int) {}
void DABPlayerService::cancelWaitEvent(int) {}
