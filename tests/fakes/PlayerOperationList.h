#ifndef DAB_TESTS_PLAYEROPERATIONLIST_H
#define DAB_TESTS_PLAYEROPERATIONLIST_H

// The 69 client operations in interface order (entry i travels as FIRST_CALL_TRANSACTION + i),
// each given to the macro of its shape: no argument, one int, two ints, an int output, a label
// output, label and code outputs, an index with label and code outputs, the dynamic text
// (text, code, length) and the preset item (band, index, label, code, availability).
#define PLAYER_OPERATIONS(V, I, II, PI, PC, LABEL, ITEM, DYNAMIC, PRESET)                          \
    V(manualUp) V(manualDown) V(presetSeekUp) V(presetSeekDown) V(switchBand) I(recall)          \
    II(presetListRecall) V(presetUpRecall) V(presetDownRecall) I(serviceListRecall)              \
    I(ptyNewsinfoListRecall) I(ptyPopularListRecall) I(ptyClassicsListRecall)                    \
    I(ptyOthersListRecall) I(ensembleListRecall) I(memory) II(presetListMemory)                  \
    I(requestPresetList) V(timeShiftPlay) V(timeShiftPause) I(timeSeek) V(requestDynamicText)    \
    V(requestServiceListUpdate) V(cancelServiceListUpdate) V(requestServiceCompList)             \
    V(requestEnsembleList) I(requestPTYSecondList) I(requestEnsembleSecondList) I(abcSearch)     \
    V(abcSearchCancel) PI(getBand) PI(getPresetNum) PI(getFrequence) PC(getFreqString)           \
    PC(getBlockId) PI(getSignalLevel) PI(getFmLink) PI(getBitPerSecond) PI(getPtyType)           \
    LABEL(getEnsembleLabel) LABEL(getServiceLabel) LABEL(getCompLabel) PI(getCompTotal)          \
    PI(getCompNum) PI(getPlaybackStatus) PI(getTotalTime) PI(getCacheTime) PI(getPauseTime)      \
    DYNAMIC(getDynamicText) ITEM(getServiceListItem) ITEM(getPtyPopularListItem)                 \
    ITEM(getPtyClassicsListItem) ITEM(getPtyNewsinfoListItem) ITEM(getPtyOthersListItem)         \
    ITEM(getEnsembleCompListItem) ITEM(getEnsembleListItem) PRESET(getPresetListItem)            \
    PI(getLogicMode) PI(getError) PI(getRealError) PI(getNm) PI(getDisplayFormat)                \
    PI(getAntStatus) V(toNormalView) V(toLive) V(timeShift) V(abcSearchOn) V(abcSearchOff)       \
    V(setDisplayFormat)

#endif  // DAB_TESTS_PLAYEROPERATIONLIST_H
