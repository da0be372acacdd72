#ifndef DAB_TOOLS_COMMON_TOOLARGS_H
#define DAB_TOOLS_COMMON_TOOLARGS_H

#include <string>
#include <utility>
#include <vector>

// The command-line convention every host tool follows: options anywhere ("tool cmd --json"
// is "tool --json cmd"), "--name VALUE" or "--name=VALUE" for an option with a value, "--"
// ends the options, "-h"/"--help" everywhere, usage errors exit 2 with one line saying what
// is wrong, numbers checked for form and range.
class ToolArgs {
public:
    enum ExitCode {
        kExitOk = 0,
        kExitNotRunning = 1,  // the service (or simulator) is not running, or went away
        kExitUsage = 2,
    };

    // An option the tool knows: its name with the dashes and, for an option taking a value,
    // the value's name in the usage text (null for a flag).
    struct Option {
        const char* name;
        const char* valueName;
    };

    // Main thread; non-blocking. The tool's name prefixes every message.
    explicit ToolArgs(const char* tool);

    // Main thread; non-blocking. Splits argv[1..argc) into options and positional arguments.
    // A word starting with "-" and a non-digit is an option ("-5" is a number, "-" a
    // positional). False with *error set for an unknown option or a missing value.
    bool parse(int argc, const char* const* argv, const std::vector<Option>& options,
               std::string* error);

    // Main thread; non-blocking. Whether the option was given; its last value, else fallback.
    bool has(const std::string& name) const;
    std::string value(const std::string& name, const std::string& fallback = "") const;
    bool help() const { return has("--help"); }
    const std::vector<std::string>& positional() const { return mPositional; }
    // The options given, in order (the value is empty for a flag).
    const std::vector<std::pair<std::string, std::string>>& options() const { return mOptions; }

    // Main thread; non-blocking. The option's value as a number in min..max into *out (left
    // alone when the option is absent); false with *error naming the range.
    bool intOption(const std::string& name, long min, long max, int* out,
                   std::string* error) const;

    // Any thread; non-blocking. A number in min..max; *error names WHAT and the range.
    static bool parseInt(const std::string& text, long min, long max, const std::string& what,
                         int* out, std::string* error);

    // Main thread; non-blocking. Writes "TOOL: PROBLEM" and then the usage line (when not
    // empty) to stderr; returns kExitUsage.
    int usageError(const std::string& problem, const std::string& usage = "") const;
    // Main thread; non-blocking. Writes the help text to stdout; returns kExitOk.
    static int printHelp(const std::string& text);
    // Any thread; non-blocking. "WHAT ("NAME") is not running in DIR" with the binder runtime
    // directory that was looked in.
    static std::string notRunning(const std::string& what, const std::string& serviceName);

    const std::string& tool() const { return mTool; }

private:
    std::string mTool;
    std::vector<std::pair<std::string, std::string>> mOptions;  // main thread only
    std::vector<std::string> mPositional;                       // main thread only
};

#endif  // DAB_TOOLS_COMMON_TOOLARGS_H
