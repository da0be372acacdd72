#ifndef DAB_TOOLS_REPLAYDIFF_H
#define DAB_TOOLS_REPLAYDIFF_H

#include <string>
#include <vector>

// A unified diff (three lines of context) turning expected into actual; empty when they are
// equal. Self-contained: a shortest edit script over the lines that differ after the common
// head and tail are set aside.
std::string unifiedDiff(const std::vector<std::string>& expected, const std::vector<std::string>& actual,
                        const std::string& expectedName, const std::string& actualName);

#endif  // DAB_TOOLS_REPLAYDIFF_H
