#include "config/JsonReader.h"
#include <gtest/gtest.h>
using namespace zq;
TEST(JsonReader, Smoke) {
    JsonRoot r;
    EXPECT_EQ(7, ParseJsonValue(r, L"{\"A\":1}", 7));
}
