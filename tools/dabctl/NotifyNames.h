#ifndef DAB_TOOLS_DABCTL_NOTIFYNAMES_H
#define DAB_TOOLS_DABCTL_NOTIFYNAMES_H

#include <string>

// How the tools show a notification to people: the names of the service's notify ids, as the
// service's header spells them, and the time it arrived. Any thread; non-blocking.
namespace dabclient {

// "DAB_SERVER_NOTIFY_BAND_CHANGE" for 1; null for an id the service does not define.
const char* notifyName(int id);

// The local time of day with milliseconds, "14:03:27.512".
std::string timeOfDay();

}  // namespace dabclient

#endif  // DAB_TOOLS_DABCTL_NOTIFYNAMES_H
