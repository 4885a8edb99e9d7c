// Memory of a load follows the file. A program of its own, because it counts what operator new gives out.
#include "LoadMemory.h"

#include "variables/VariableMaps.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace zq::bench {
namespace {

// What a load may take beyond the variables that stay, in lengths of the file.
struct Limit {
    double first;
    double again;
};

Limit LimitOf(const std::string& shape) {
    // Eleven and fifteen bytes of these files make a node with its members, and an entry or two with their
    // names; when the file is loaded again all of that is beyond what stays.
    static const std::map<std::string, Limit> kDenser = {{"deep", {8, 13}}, {"a list of \"CL\"", {10, 13.5}}};
    const auto found = kDenser.find(shape);
    return found == kDenser.end() ? Limit{8, 8} : found->second;
}

TEST(LoadMemory, FollowsTheFileInEveryShape) {
    for (const LoadShape& shape : LoadShapes()) {
        VariableMaps maps(1);
        const auto times = [&] {
            return static_cast<double>(BytesBeyondTheVariables(shape, maps)) /
                   static_cast<double>(shape.bytes.size());
        };
        const Limit limit = LimitOf(shape.name);

        EXPECT_GE(limit.first, times()) << shape.name;
        EXPECT_GE(limit.again, times()) << shape.name << ", loaded again";
    }
}

TEST(LoadMemory, OneLongKeyTakesMegabytes) {
    constexpr size_t kMega = size_t{1} << 20;
    VariableMaps maps(1);

    EXPECT_GE(64 * kMega, BytesBeyondTheVariables(LongKeyShape(), maps));
    EXPECT_GE(64 * kMega, BytesBeyondTheVariables(LongKeyShape(), maps));
}

} // namespace
} // namespace zq::bench
