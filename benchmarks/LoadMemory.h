// How much memory a load takes beyond that of the variables that stay, for documents of many shapes.
#pragma once

#include "config/ConfigFile.h"

#include <string>
#include <vector>

namespace zq {
class VariableStore;
}

namespace zq::bench {

struct LoadShape {
    std::string name;
    ConfigFile file;
    std::string bytes;
};

std::vector<LoadShape> LoadShapes();

// A key of 49,000 characters around deep nesting, 99 KB: every name repeats the key.
LoadShape LongKeyShape();

// The peak of a load less what is live afterwards, the bytes of the file included. The program must link
// CountedHeap.cpp.
size_t BytesBeyondTheVariables(const LoadShape& shape, VariableStore& store);

} // namespace zq::bench
