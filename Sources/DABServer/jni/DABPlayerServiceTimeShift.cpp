// Placeholder until this concern lands: every operation refuses.
#include "DABPlayerService.h"

using namespace android;

int DABPlayerService::timeShiftPlay() { return -1; }
int DABPlayerService::timeShiftPause() { return -1; }
int DABPlayerService::timeSeek(int) { return -1; }
int DABPlayerService::getPlaybackStatus(int*) { return -1; }
int DABPlayerService::getTotalTime(int*) { return -1; }
int DABPlayerService::getCacheTime(int*) { return -1; }
int DABPlayerService::getPauseTime(int*) { return -1; }
int DABPlayerService::toNormalView() { return -1; }
int DABPlayerService::toLive() { return -1; }
int DABPlayerService::timeShift() { return -1; }
