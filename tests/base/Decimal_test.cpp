#include "base/Decimal.h"

#include <gtest/gtest.h>

#include <string>

namespace zq {
namespace {

TEST(Decimal, HasTheDigitsThatTheLibraryWrites) {
    for (const int64_t number :
         {int64_t{0}, int64_t{7}, int64_t{10}, int64_t{-1}, int64_t{4294967296}, INT64_MAX, INT64_MIN}) {
        EXPECT_EQ(std::to_wstring(number), Decimal(number).View());
    }
}

} // namespace
} // namespace zq
