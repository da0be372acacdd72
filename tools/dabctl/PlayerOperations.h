#ifndef DAB_TOOLS_DABCTL_PLAYEROPERATIONS_H
#define DAB_TOOLS_DABCTL_PLAYEROPERATIONS_H

#include "TextConversion.h"

#include <dabplayer/IDABPlayer.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

namespace dabclient {

// One output of an operation, as the caller's storage held it after the call.
struct OpOutput {
    enum Kind {
        kInt,    // an int output
        kField,  // an ASCII text field (frequency text, channel label)
        kText,   // a label or the dynamic text, converted with the code output
    };
    std::string name;
    Kind kind;
    int value;           // kInt
    std::string field;   // kField
    ConvertedText text;  // kText
};

struct OpResult {
    int result;                    // the operation's result, or the transport's error
    std::vector<OpOutput> outputs; // in signature order
};

// One IDABPlayer operation callable by name with int arguments.
struct PlayerOperation {
    const char* name;
    std::vector<const char*> args;  // names of the int arguments, in order
    std::function<OpResult(android::IDABPlayer&, const std::vector<int>&)> call;
};

// Any thread; non-blocking. The 69 operations of IDABPlayer that applications call, in the
// interface's order (setClientListener, the 70th, is the connection's own business).
const std::vector<PlayerOperation>& playerOperations();

// Any thread; non-blocking. The operation of that name (case does not matter), else null.
const PlayerOperation* findOperation(const std::string& name);

// Any thread; non-blocking. Adds one output to a JSON object: its value under its name, and
// for a text that could not be converted null and the raw bytes under name + "Hex".
void addOutputJson(nlohmann::ordered_json* j, const OpOutput& o);

// Any thread; non-blocking. True for a status the transport gives when a call did not get
// through (the service answers only 1, 0 and -1).
bool isTransportError(int result);

}  // namespace dabclient

#endif  // DAB_TOOLS_DABCTL_PLAYEROPERATIONS_H
