#ifndef DAB_CLOSEDLIBS_MEDIAINFOPARCEL_H
#define DAB_CLOSEDLIBS_MEDIAINFOPARCEL_H

#include <utils/Errors.h>
#include <utils/String8.h>

#include <cstdint>
#include <vector>

namespace android {

class Parcel;

// Source names and contents the information bar and the voice assistant understand.
constexpr const char INFOBAR_SRCNAME_DAB[] = "DAB";
constexpr const char INFOBAR_SRCNAME_TADAB[] = "DAB TA";
constexpr const char INFOBAR_SRCNAME_UNKNOWN[] = "Unknown";
constexpr const char VA_SRCNAME_DIGTIAL_RADIO[] = "Digital Radio";
constexpr const char VA_SRCNAME_TA_INTERRUPT[] = "Traffic Announcement";
constexpr const char INFOBAR_NODATA_STRINGCONTENT[] = "No Data";
constexpr const char INFOBAR_CLEAR_STRINGCONTENT[] = "";
constexpr int INFOBAR_CLEAR_INTCONTENT = -1;

// One media-info record for the media manager: the fields in the order they were written.
// One thread at a time.
class MediaInfoParcel {
public:
    enum FieldKind {
        FIELD_MEDIA_SOURCE_ID = 1,
        FIELD_SRC_NAME_FOR_VA = 2,
        FIELD_DAB_LABEL = 3,
        FIELD_DAB_SERVICE_LABEL = 4,
        FIELD_DYNAMIC_TEXT = 5,
        FIELD_PRESET_STATION_NUMBER = 6,
    };

    struct Field {
        FieldKind kind;
        String8 text;   // text fields
        int32_t value;  // the preset station number
    };

    MediaInfoParcel();
    ~MediaInfoParcel();

    void writeMediaSourceID(const String8& id);
    void writeSrcNameForVA(const String8& name);
    void writeDABLabel(const String8& label);
    void writeDABServiceLabel(const String8& label);
    void writeDynamicText(const String8& text);
    void writePresetStationNumber(int number);

    const std::vector<Field>& fields() const;
    // The writer's name of a field kind ("writeDABLabel", ...).
    static const char* writerName(FieldKind kind);

    // Flattening for the trip to the media manager; readFromParcel refuses malformed data.
    status_t writeToParcel(Parcel* parcel) const;
    status_t readFromParcel(const Parcel& parcel);

private:
    std::vector<Field> mFields;
};

}  // namespace android

#endif  // DAB_CLOSEDLIBS_MEDIAINFOPARCEL_H
