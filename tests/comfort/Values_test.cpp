// Values of every type through the handle: by name and by key, at every length, and what is refused.
#include "comfort/OpenModule.h"

#include <cmath>
#include <limits>

namespace zq::test {
namespace {

using Bytes = std::vector<std::byte>;

class Values : public OpenModule {};

constexpr Key<int64_t> kBitrate{L"Settings.CurrentBitrate"};

TEST_F(Values, ReadsTheValuesOfTheFiles) {
    EXPECT_EQ(1, module.get<int64_t>(L"Level"));
    EXPECT_EQ(1.0, module.get<double>(L"Level"));
    EXPECT_EQ(L"default", module.get<std::wstring>(L"Source"));
    EXPECT_EQ(70, module.get(kBitrate));
    EXPECT_EQ(true, module.get<bool>(L"Settings.EnableDashboard"));
}

TEST_F(Values, ReturnsNothingForAMissingNameOrAnotherType) {
    EXPECT_EQ(std::nullopt, module.get<bool>(L"Nowhere"));
    EXPECT_EQ(std::nullopt, module.get<int64_t>(L"Nowhere"));
    EXPECT_EQ(std::nullopt, module.get<double>(L"Nowhere"));
    EXPECT_EQ(std::nullopt, module.get<std::wstring>(L"Nowhere"));
    EXPECT_EQ(std::nullopt, module.get<Bytes>(L"Nowhere"));
    EXPECT_EQ(std::nullopt, module.get<bool>(L"Level"));
}

TEST_F(Values, SetsEachTypeByTheTypeOfTheValue) {
    module.set(L"V", true);
    module.set(L"V", 5);
    module.set(L"V", 0.5f);
    module.set(L"V", L"text");
    module.set(std::wstring(L"V"), Bytes{std::byte{0}, std::byte{255}});

    EXPECT_EQ(true, module.get<bool>(L"V"));
    EXPECT_EQ(5, module.get<int64_t>(L"V"));
    EXPECT_EQ(0.5, module.get<double>(L"V"));
    EXPECT_EQ(L"text", module.get<std::wstring>(std::wstring(L"V")));
    EXPECT_EQ((Bytes{std::byte{0}, std::byte{255}}), module.get<Bytes>(L"V"));
}

TEST_F(Values, AcceptsTheLimitsOfEachType) {
    module.set(L"V", std::numeric_limits<int64_t>::min());
    module.set(L"V", -std::numeric_limits<double>::infinity());
    module.set(L"V", std::wstring_view(L"a view"));
    EXPECT_EQ(std::numeric_limits<int64_t>::min(), module.get<int64_t>(L"V"));
    EXPECT_EQ(-std::numeric_limits<double>::infinity(), module.get<double>(L"V"));
    EXPECT_EQ(L"a view", module.get<std::wstring>(L"V"));
    module.set(L"V", std::numeric_limits<uint32_t>::max());
    EXPECT_EQ(4294967295, module.get<int64_t>(L"V"));
}

TEST_F(Values, AKeyAcceptsValuesThatFitItsType) {
    module.set(kBitrate, 90);
    module.set(Key<double>{L"Ratio"}, 2);
    module.set(Key<std::wstring>{L"Name"}, L"n");
    EXPECT_EQ(90, module.get(kBitrate));
    EXPECT_EQ(2.0, module.get(Key<double>{L"Ratio"}));
    EXPECT_EQ(std::nullopt, module.get<int64_t>(L"Ratio"));
    EXPECT_EQ(L"n", module.get(Key<std::wstring>{L"Name"}));
    static_assert(!detail::kFits<int64_t, double> && !detail::kFits<bool, int> &&
                  !detail::kFits<double, int64_t>);
}

TEST_F(Values, StringsOfEveryLengthAreReadCompletely) {
    for (const size_t length : {0u, 1u, 255u, 256u, 511u, 512u, 65535u, 65536u, 100'000u}) {
        std::wstring text(length, L'x');
        for (size_t i = 0; i < length; ++i) {
            text[i] = static_cast<wchar_t>(L'a' + i % 26);
        }
        module.set(L"Text", text);
        EXPECT_TRUE(module.get<std::wstring>(L"Text") == text) << "length " << length;
    }
}

TEST_F(Values, BinariesOfEveryLengthAreReadCompletely) {
    for (const size_t length : {0u, 1u, 8u, 4096u, 200'000u}) {
        const Bytes bytes(length, std::byte{7});
        module.set(L"Block", bytes);
        EXPECT_TRUE(module.get<Bytes>(L"Block") == bytes) << "length " << length;
    }
    module.eraseBinary(L"Block");
    EXPECT_EQ(std::nullopt, module.get<Bytes>(L"Block"));
}

TEST_F(Values, RemoveAllLeavesNothing) {
    module.removeAll();
    EXPECT_EQ(std::nullopt, module.get(kBitrate));
    EXPECT_EQ(8u, module.pack().size());
}

// The module's own exceptions cannot be caught by every compiler's hosts: these must come from the header.
TEST_F(Values, RefusesWhatTheModuleCannotTakeBeforeItIsCalled) {
    const wchar_t* const none = nullptr;
    const std::wstring zeroInside(L"a\0b", 3);

    EXPECT_EQ(Reason::InvalidArgument, ErrorOf([&] { module.get<bool>(none); }).reason());
    EXPECT_EQ(Reason::InvalidArgument, ErrorOf([&] { module.get(Key<bool>{}); }).reason());
    EXPECT_EQ(Reason::InvalidArgument, ErrorOf([&] { module.set(none, 1); }).reason());
    EXPECT_EQ(Reason::InvalidArgument, ErrorOf([&] { module.save(none, 1); }).reason());
    EXPECT_EQ(Reason::InvalidArgument, ErrorOf([&] { module.set(L"Source", none); }).reason());
    EXPECT_EQ(Reason::InvalidArgument, ErrorOf([&] { module.set(zeroInside, 1); }).reason());
    EXPECT_EQ(Reason::InvalidArgument, ErrorOf([&] { module.set(L"Source", zeroInside); }).reason());
    EXPECT_EQ(Reason::InvalidArgument, ErrorOf([&] { module.subscribe(none, {}).reset(); }).reason());
    EXPECT_EQ(Reason::InvalidArgument, ErrorOf([&] { module.subscribe(L"A", nullptr).reset(); }).reason());
    EXPECT_EQ(L"default", module.get<std::wstring>(L"Source"));
    EXPECT_STREQ("zq::Module: the name of a variable is null; give one",
                 ErrorOf([&] { module.get<bool>(none); }).what());
}

TEST_F(Values, SavesEachTypeAndReadsItBack) {
    EditSettings(R"({"B":false,"I":1,"D":0.5,"S":"old","DHI":0,"CL":[{"HD":"ALPHA1","Bitrate":40}]})");
    ASSERT_TRUE(WaitFor([&] { return module.get<std::wstring>(L"S") == L"old"; }));

    module.save(L"B", true);
    module.save(L"I", 2);
    module.save(Key<double>{L"D"}, 1.5);
    module.save(L"CL.ALPHA1.Bitrate", 60, SaveTo::Headset);
    module.saveResponse(L"ALPHA1", 1, 2, 0, {11, 21});
    module.save(L"S", L"new");

    EXPECT_TRUE(WaitFor([&] {
        return module.get<std::wstring>(L"S") == L"new" && module.get<int64_t>(L"CL.ALPHA1.1.2.0.1") == 21;
    }));
    EXPECT_EQ(true, module.get<bool>(L"B"));
    EXPECT_EQ(2, module.get<int64_t>(L"I"));
    EXPECT_EQ(1.5, module.get<double>(L"D"));
    EXPECT_EQ(60, module.get<int64_t>(L"CL.ALPHA1.Bitrate"));
    EXPECT_EQ(30, module.get<int64_t>(L"CL.ALPHA1.1.2.0.2"));
}

TEST_F(Values, RefusesToSaveWhatWouldMakeTheFileUnreadable) {
    const std::string before = ReadBytes(folders.Private(kSettingsName));
    EXPECT_EQ(Reason::InvalidArgument, ErrorOf([&] { module.save(L"Source", L"\u00E9"); }).reason());
    EXPECT_EQ(Reason::InvalidArgument, ErrorOf([&] { module.save(L"Level", std::nan("")); }).reason());
    EXPECT_EQ(Reason::InvalidArgument,
              ErrorOf([&] { module.save(L"Level", std::numeric_limits<double>::infinity()); }).reason());
    EXPECT_EQ(before, ReadBytes(folders.Private(kSettingsName)));
}

TEST_F(Values, UpdatesTheDeviceName) {
    module.set(L"DHI", 1);
    module.updateDefaultDeviceName();
    EXPECT_EQ(L"BETA2", module.get<std::wstring>(L"DefaultDeviceName"));
}

} // namespace
} // namespace zq::test
