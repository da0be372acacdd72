#ifndef DAB_SERVER_DABLOG_H
#define DAB_SERVER_DABLOG_H

#include <log/log_tag_id.h>

// Trace lines: debug priority with the text-tag id; every component passes its own tag.
#define DAB_LOG_TAG_ID 0x10002
#define DAB_LOGD(tag, ...) __android_log_print_tag_id(3, DAB_LOG_TAG_ID, tag, __VA_ARGS__)
#define DAB_LOGE(tag, ...) __android_log_print_tag_id(6, DAB_LOG_TAG_ID, tag, __VA_ARGS__)

#define DAB_TAG_PLAYER "DABPlayer"
#define DAB_TAG_SOURCE "DABSource"
#define DAB_TAG_LIST "DABPlayerList"
#define DAB_TAG_LISTPROCESS "DABListProcess"

#endif  // DAB_SERVER_DABLOG_H
