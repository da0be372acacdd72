// Placeholder until this concern lands: every operation refuses.
#include "DABPlayerService.h"

using namespace android;

int DABPlayerService::publishDynamicText(int state) { mDynamicTextStatus = state; return 0; }
int DABPlayerService::publishDabLabel(int) { return -1; }
void DABPlayerService::publishPresetStationNumber(int) {}
void DABPlayerService::onReqPublishMediaInfo() {}
