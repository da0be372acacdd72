// Fuzz target: the simulated tuner's scenario file loader, given the file's text.
#include "SimScenario.h"
#include "SimWorld.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    media_lib_dab::SimWorld world;
    std::string error;
    if (!media_lib_dab::SimScenario::parse(text, "fuzz.json", &world, &error) && error.empty()) {
        __builtin_trap();  // a refusal always says why
    }
    return 0;
}
