// Media-info records for the head unit's information bar and voice assistant.
#include "DABPlayerService.h"

#include "DABChannelTable.h"
#include "DABLog.h"
#include "DABSourceController.h"

#include <mediamanager/MediaInfoParcel.h>

#include <cstring>

using namespace android;

namespace {

// Preset numbers the information bar shows; any other number clears it.
constexpr int kPresetNumberMin = 1;
constexpr int kPresetNumberMax = 6;

// Longest text of a label field and of the dynamic text (the fields keep a terminator).
constexpr size_t kLabelMax = 64;
constexpr size_t kDynamicTextMax = 128;

// The fields are written by the notification thread without a lock: never read past the end.
String8 boundedText(const char* text, size_t max) { return String8(text, strnlen(text, max)); }

// The source identity of label and text records follows the active source.
void writeSourceNames(MediaInfoParcel& info, int activeSourceType) {
    if (activeSourceType == DAB_SERVER_SOURCE_TA) {
        info.writeMediaSourceID(String8(INFOBAR_SRCNAME_TADAB));
        info.writeSrcNameForVA(String8(VA_SRCNAME_TA_INTERRUPT));
    } else {
        info.writeMediaSourceID(String8(INFOBAR_SRCNAME_DAB));
        info.writeSrcNameForVA(String8(VA_SRCNAME_DIGTIAL_RADIO));
    }
}

}  // namespace

int DABPlayerService::publishDynamicText(int state) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::publishDynamicText");
    Mutex::Autolock lock(mPublishLock);
    MediaInfoParcel info;
    writeSourceNames(info, mActiveSourceType);
    mDynamicTextStatus = state;
    switch (state) {
        case DAB_SERVER_DYNAMIC_TEXT_PUBLISH_HAS_DATA:
            info.writeDynamicText(boundedText(mDynamicText, kDynamicTextMax));
            DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService publishDynamicText has data");
            break;
        case DAB_SERVER_DYNAMIC_TEXT_PUBLISH_NO_DATA:
            info.writeDynamicText(String8(INFOBAR_NODATA_STRINGCONTENT));
            DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService publishDynamicText no data");
            break;
        case DAB_SERVER_DYNAMIC_TEXT_PUBLISH_CLEAR:
            info.writeDynamicText(String8(INFOBAR_CLEAR_STRINGCONTENT));
            DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService publishDynamicText clear data");
            break;
        default:
            // Unknown states still announce the source, without a text.
            break;
    }
    if (mController != nullptr) mController->publishMediaInfo(info);
    return 0;
}

int DABPlayerService::publishDabLabel(int infoType) {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService publishDabLabell");
    Mutex::Autolock lock(mPublishLock);
    MediaInfoParcel info;
    writeSourceNames(info, mActiveSourceType);
    bool hasLabel = true;
    switch (mCurrentInfoType) {
        case DAB_SERVER_INFO_TYPE_FREQ: {
            const int blockId = mDabLib.getNmValue();
            DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer publishDabLabel freq blockId=%d", blockId);
            const DAB_CHANNEL_INFO* channel = DABChannelTable::lookup(blockId);
            if (channel != nullptr) {
                info.writeDABLabel(
                        boundedText(channel->freqTextUnit, sizeof(channel->freqTextUnit)));
            } else {
                hasLabel = false;
            }
            break;
        }
        case DAB_SERVER_INFO_TYPE_ENSEMBLE: {
            const String8 label = boundedText(mEnsembleLabel, kLabelMax);
            DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer publishDabLabel ensemble %s", label.string());
            info.writeDABLabel(label);
            break;
        }
        case DAB_SERVER_INFO_TYPE_SERVICE: {
            const String8 label = boundedText(mServiceLabel, kLabelMax);
            DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer publishDabLabel service %s", label.string());
            info.writeDABLabel(label);
            info.writeDABServiceLabel(label);
            break;
        }
        case DAB_SERVER_INFO_TYPE_COMP: {
            const String8 label = boundedText(mCompLabel, kLabelMax);
            DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer publishDabLabel comp %s", label.string());
            info.writeDABLabel(label);
            break;
        }
        default:
            DAB_LOGD(DAB_TAG_PLAYER, "DABPlayer publishDabLabel default infoType = %d", infoType);
            hasLabel = false;
            break;
    }
    if (!hasLabel) return -1;
    if (mController != nullptr) {
        mController->publishMediaInfo(info);
        DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::publishDabLabel infoType = %d", infoType);
    }
    return 0;
}

void DABPlayerService::publishPresetStationNumber(int number) {
    DAB_LOGD(DAB_TAG_PLAYER, "publishPresetStationNumber:%d", number);
    // A record of its own without source names: no lock needed.
    MediaInfoParcel info;
    const bool isPreset = number >= kPresetNumberMin && number <= kPresetNumberMax;
    info.writePresetStationNumber(isPreset ? number : INFOBAR_CLEAR_INTCONTENT);
    if (mController != nullptr) mController->publishMediaInfo(info);
}

void DABPlayerService::onReqPublishMediaInfo() {
    DAB_LOGD(DAB_TAG_PLAYER, "DABPlayerService::onReqPublishMediaInfo()");
    if (!mIsActive) {
        DAB_LOGD(DAB_TAG_PLAYER, "in onReqPublishMediaInfo() DABPlayerService, Not Active");
        return;
    }
    // Each call takes the publish lock on its own.
    publishDabLabel(mCurrentInfoType);
    publishDynamicText(mDynamicTextStatus);
}
