// Placeholder until this concern lands: every operation refuses.
#include "DABPlayerService.h"

using namespace android;

int DABPlayerService::serviceListRecall(int) { return -1; }
int DABPlayerService::ptyNewsinfoListRecall(int) { return -1; }
int DABPlayerService::ptyPopularListRecall(int) { return -1; }
int DABPlayerService::ptyClassicsListRecall(int) { return -1; }
int DABPlayerService::ptyOthersListRecall(int) { return -1; }
int DABPlayerService::ensembleListRecall(int) { return -1; }
int DABPlayerService::requestPresetList(int) { return -1; }
int DABPlayerService::requestServiceCompList() { return -1; }
int DABPlayerService::requestEnsembleList() { return -1; }
int DABPlayerService::requestPTYSecondList(int) { return -1; }
int DABPlayerService::requestEnsembleSecondList(int) { return -1; }
int DABPlayerService::abcSearch(int) { return -1; }
int DABPlayerService::getServiceListItem(int, char*, int*) { return -1; }
int DABPlayerService::getPtyPopularListItem(int, char*, int*) { return -1; }
int DABPlayerService::getPtyClassicsListItem(int, char*, int*) { return -1; }
int DABPlayerService::getPtyNewsinfoListItem(int, char*, int*) { return -1; }
int DABPlayerService::getPtyOthersListItem(int, char*, int*) { return -1; }
int DABPlayerService::getEnsembleCompListItem(int, char*, int*) { return -1; }
int DABPlayerService::getEnsembleListItem(int, char*, int*) { return -1; }
int DABPlayerService::getPresetListItem(int, int, char*, int*, int*) { return -1; }
int DABPlayerService::getListItem(int, int, char*, int*) { return -1; }
int DABPlayerService::recallListItem(int, int) { return -1; }
void DABPlayerService::sourceOnRequestPresetList() {}
