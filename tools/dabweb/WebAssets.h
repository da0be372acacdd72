#ifndef DAB_TOOLS_DABWEB_WEBASSETS_H
#define DAB_TOOLS_DABWEB_WEBASSETS_H

#include <cstddef>
#include <string>

namespace dabweb {

// One file of the screen (web/), compiled into the tool.
struct WebAsset {
    const char* path;  // "/index.html"
    const char* type;  // its content type
    const unsigned char* data;
    size_t size;
};

// Any thread; non-blocking. The file served under that path, else null.
const WebAsset* findAsset(const std::string& path);

}  // namespace dabweb

#endif  // DAB_TOOLS_DABWEB_WEBASSETS_H
