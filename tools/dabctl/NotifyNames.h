#ifndef DAB_TOOLS_DABCTL_NOTIFYNAMES_H
#define DAB_TOOLS_DABCTL_NOTIFYNAMES_H

// Names of the service's notify ids, as the service's header spells them. Any thread;
// non-blocking.
namespace dabclient {

// "DAB_SERVER_NOTIFY_BAND_CHANGE" for 1; null for an id the service does not define.
const char* notifyName(int id);

}  // namespace dabclient

#endif  // DAB_TOOLS_DABCTL_NOTIFYNAMES_H
