#include <binder/Parcel.h>
#include <mediamanager/MediaInfoParcel.h>

namespace android {

namespace {
// A record never carries more fields than this; more is malformed input.
constexpr int32_t kMaxFields = 64;
}  // namespace

MediaInfoParcel::MediaInfoParcel() {}
MediaInfoParcel::~MediaInfoParcel() {}

void MediaInfoParcel::writeMediaSourceID(const String8& id) { mFields.push_back({FIELD_MEDIA_SOURCE_ID, id, 0}); }
void MediaInfoParcel::writeSrcNameForVA(const String8& name) { mFields.push_back({FIELD_SRC_NAME_FOR_VA, name, 0}); }
void MediaInfoParcel::writeDABLabel(const String8& label) { mFields.push_back({FIELD_DAB_LABEL, label, 0}); }
void MediaInfoParcel::writeDABServiceLabel(const String8& label) {
    mFields.push_back({FIELD_DAB_SERVICE_LABEL, label, 0});
}
void MediaInfoParcel::writeDynamicText(const String8& text) { mFields.push_back({FIELD_DYNAMIC_TEXT, text, 0}); }
void MediaInfoParcel::writePresetStationNumber(int number) {
    mFields.push_back({FIELD_PRESET_STATION_NUMBER, String8(), number});
}

const std::vector<MediaInfoParcel::Field>& MediaInfoParcel::fields() const { return mFields; }

const char* MediaInfoParcel::writerName(FieldKind kind) {
    switch (kind) {
        case FIELD_MEDIA_SOURCE_ID: return "writeMediaSourceID";
        case FIELD_SRC_NAME_FOR_VA: return "writeSrcNameForVA";
        case FIELD_DAB_LABEL: return "writeDABLabel";
        case FIELD_DAB_SERVICE_LABEL: return "writeDABServiceLabel";
        case FIELD_DYNAMIC_TEXT: return "writeDynamicText";
        case FIELD_PRESET_STATION_NUMBER: return "writePresetStationNumber";
    }
    return "unknown";
}

status_t MediaInfoParcel::writeToParcel(Parcel* parcel) const {
    parcel->writeInt32(static_cast<int32_t>(mFields.size()));
    for (const Field& f : mFields) {
        parcel->writeInt32(f.kind);
        if (f.kind == FIELD_PRESET_STATION_NUMBER) {
            parcel->writeInt32(f.value);
        } else {
            parcel->writeString8(f.text);
        }
    }
    return NO_ERROR;
}

status_t MediaInfoParcel::readFromParcel(const Parcel& parcel) {
    mFields.clear();
    int32_t count = 0;
    if (parcel.readInt32(&count) != NO_ERROR || count < 0 || count > kMaxFields) return BAD_VALUE;
    for (int32_t i = 0; i < count; ++i) {
        int32_t kind = 0;
        if (parcel.readInt32(&kind) != NO_ERROR || kind < FIELD_MEDIA_SOURCE_ID ||
            kind > FIELD_PRESET_STATION_NUMBER) {
            mFields.clear();
            return BAD_VALUE;
        }
        Field f{static_cast<FieldKind>(kind), String8(), 0};
        if (kind == FIELD_PRESET_STATION_NUMBER) {
            if (parcel.readInt32(&f.value) != NO_ERROR) {
                mFields.clear();
                return BAD_VALUE;
            }
        } else {
            f.text = parcel.readString8();
        }
        mFields.push_back(f);
    }
    return NO_ERROR;
}

}  // namespace android
