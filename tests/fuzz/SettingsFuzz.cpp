#include "FlattenFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    zq::fuzz::RequireBounded(zq::ConfigFile::Settings, data, size);
    return 0;
}
