// Placeholder until this concern lands: every operation refuses.
#include "DABPlayerService.h"

using namespace android;

int DABPlayerService::requestDynamicText() { return -1; }
int DABPlayerService::requestServiceListUpdate() { return -1; }
int DABPlayerService::cancelServiceListUpdate() { return -1; }
int DABPlayerService::abcSearchCancel() { return -1; }
int DABPlayerService::getBand(int*) { return -1; }
int DABPlayerService::getPresetNum(int*) { return -1; }
int DABPlayerService::getFrequence(int*) { return -1; }
int DABPlayerService::getFreqString(char*) { return -1; }
int DABPlayerService::getBlockId(char*) { return -1; }
int DABPlayerService::getSignalLevel(int*) { return -1; }
int DABPlayerService::getFmLink(int*) { return -1; }
int DABPlayerService::getBitPerSecond(int*) { return -1; }
int DABPlayerService::getPtyType(int*) { return -1; }
int DABPlayerService::getEnsembleLabel(char*, int*) { return -1; }
int DABPlayerService::getServiceLabel(char*, int*) { return -1; }
int DABPlayerService::getCompLabel(char*, int*) { return -1; }
int DABPlayerService::getTitleLabel(int, char*, int*) { return -1; }
int DABPlayerService::getCompTotal(int*) { return -1; }
int DABPlayerService::getCompNum(int*) { return -1; }
int DABPlayerService::getDynamicText(char*, int*, int*) { return -1; }
int DABPlayerService::getLogicMode(int*) { return -1; }
int DABPlayerService::getError(int*) { return -1; }
int DABPlayerService::getRealError(int*) { return -1; }
int DABPlayerService::getNm(int*) { return -1; }
int DABPlayerService::getDisplayFormat(int*) { return -1; }
int DABPlayerService::getAntStatus(int*) { return -1; }
int DABPlayerService::abcSearchOn() { return -1; }
int DABPlayerService::abcSearchOff() { return -1; }
int DABPlayerService::setDisplayFormat() { return -1; }
