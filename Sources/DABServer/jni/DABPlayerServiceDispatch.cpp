// Placeholder until this concern lands: every operation refuses.
#include "DABPlayerService.h"

using namespace android;

void DABPlayerService::handleDABNotify(media_lib_dab::DABNotifyID, int) {}
int DABPlayerService::toServerNotifyId(media_lib_dab::DABNotifyID) { return 0; }
int DABPlayerService::setDynamicTextNoData() { isDynamicTextCached = DAB_SERVER_DYNAMIC_TEXT_NO_DATA; return 0; }
void DABPlayerService::handleConnectStatus(int) {}
void DABPlayerService::handleBandChange(int) {}
void DABPlayerService::handlePresetNumChange(int) {}
void DABPlayerService::handleLogicModeChange(int) {}
void DABPlayerService::handleFreqChange(int) {}
void DABPlayerService::handleLabelChange(int, int) {}
void DABPlayerService::handleCompTotalChange(int) {}
void DABPlayerService::handleCompNumChange(int) {}
void DABPlayerService::handleDynamicTextUpdate(int) {}
void DABPlayerService::handleTotalTimeChange(int) {}
void DABPlayerService::handleCacheTimeChange(int) {}
void DABPlayerService::handlePauseTimeChange(int) {}
void DABPlayerService::handlePlaybackStatusChange(int) {}
