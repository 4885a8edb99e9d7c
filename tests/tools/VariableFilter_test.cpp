#include "VariableFilter.h"

#include <gtest/gtest.h>

namespace zq::tool {
namespace {

TEST(VariableFilter, NarrowsByPrefixAndType) {
    const std::vector<Variable> all = {{L"CL.A", int64_t{1}}, {L"CL.A", 1.0}, {L"DHI", int64_t{0}}};

    EXPECT_EQ(3u, VariableFilter{}.Apply(all).size());
    EXPECT_EQ(2u, (VariableFilter{{}, "CL.", {}}.Apply(all)).size());
    EXPECT_EQ(0u, (VariableFilter{{}, "cl.", {}}.Apply(all)).size());
    EXPECT_EQ(2u, (VariableFilter{{}, "", {"integer"}}.Apply(all)).size());
    EXPECT_EQ(1u, (VariableFilter{{}, "CL.", {"bool", "double"}}.Apply(all)).size());
}

TEST(VariableFilter, NarrowsByNamesAndPatterns) {
    const std::vector<Variable> all = {
        {L"CL.A.Bitrate", int64_t{1}}, {L"CL.B.Bitrate", 1.0}, {L"DHI", int64_t{0}}};

    EXPECT_EQ(1u, (VariableFilter{{"DHI"}, "", {}}.Apply(all)).size());
    EXPECT_EQ(2u, (VariableFilter{{"CL.*.Bitrate"}, "", {}}.Apply(all)).size());
    EXPECT_EQ(3u, (VariableFilter{{"*"}, "", {}}.Apply(all)).size());
    EXPECT_EQ(2u, (VariableFilter{{"DHI", "CL.?.*", "missing"}, "", {"integer"}}.Apply(all)).size());
    EXPECT_EQ(0u, (VariableFilter{{"dhi", "CL.*.Bit"}, "", {}}.Apply(all)).size());
}

} // namespace
} // namespace zq::tool
