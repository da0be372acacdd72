// Placeholder until this concern lands: every operation refuses.
#include "DABPlayerService.h"

using namespace android;

int DABPlayerService::PresetListRcvItemHandle() { return -1; }
bool DABPlayerService::checkPresetListBandFinished(LIST_QUEUE_MSG&) { return false; }
void DABPlayerService::handlePresetItemSourceOn() {}
void DABPlayerService::handlePresetItem() {}
void DABPlayerService::handlePresetListUpdateReq() {}
void DABPlayerService::handleServiceListItem(int) {}
void DABPlayerService::handleAbcSearchResult() {}
void DABPlayerService::handleErrorInfo(int) {}
void DABPlayerService::handleAntStatus(int) {}
