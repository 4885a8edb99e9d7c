#include "base/ShortCopy.h"

#include <gtest/gtest.h>

#include <array>

namespace zq {
namespace {

TEST(CopyShort, CopiesEveryLengthAndNothingBeyond) {
    constexpr size_t kSize = 600;
    std::array<unsigned char, kSize> from{};
    for (size_t i = 0; i < kSize; ++i) {
        from[i] = static_cast<unsigned char>(i * 7 + 1);
    }
    for (size_t offset = 0; offset < 3; ++offset) {
        for (size_t count = 0; count + offset + 1 < kSize; ++count) {
            std::array<unsigned char, kSize> to{};
            CopyShort(to.data() + offset, from.data() + 1, count);
            for (size_t i = 0; i < kSize; ++i) {
                const bool isCopied = i >= offset && i < offset + count;
                ASSERT_EQ(isCopied ? from[i - offset + 1] : 0, to[i]) << count << " bytes, at " << i;
            }
        }
    }
}

TEST(CopyShort, TakesNullForNothing) { CopyShort(nullptr, nullptr, 0); }

} // namespace
} // namespace zq
