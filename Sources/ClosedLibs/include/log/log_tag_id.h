#ifndef DAB_CLOSEDLIBS_LOG_TAG_ID_H
#define DAB_CLOSEDLIBS_LOG_TAG_ID_H

// The head unit's extension of the platform log library (not part of any Android liblog): like
// __android_log_print, with a numeric tag id in front of the text tag. The tag may be null.
// Any thread.
#ifdef __cplusplus
extern "C" {
#endif

int __android_log_print_tag_id(int prio, int tagId, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif

#endif  // DAB_CLOSEDLIBS_LOG_TAG_ID_H
