#include "sysinfo/WmiQuery.h"

#include "support/win32/FakeWbem.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

using Microsoft::WRL::ComPtr;

using OptionalText = std::optional<std::wstring>;
using Integers = std::vector<int64_t>;

constexpr const wchar_t* kSpace = L"root\\Test";
constexpr const wchar_t* kQuery = L"SELECT * FROM Thing";

class WmiQuery : public testing::Test {
protected:
    WmiQuery() {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER,
                         IID_PPV_ARGS(locator.GetAddressOf()));
        wbem.namespaces[kSpace].queries[kQuery] = {};
    }
    ~WmiQuery() override {
        locator.Reset();
        EXPECT_EQ(0, wbem.LiveObjects());
        EXPECT_EQ(std::vector<std::wstring>(), wbem.Complaints());
        CoUninitialize();
    }

    FakeQuery& Query() { return wbem.namespaces[kSpace].queries[kQuery]; }
    std::optional<WmiService> Connect() { return WmiService::Connect(*locator.Get(), kSpace, observe); }

    // What `read` finds in an object with one property "P".
    template <class Read>
    auto ReadOf(FakeValue value, Read read) {
        Query().objects = {{{L"P", std::move(value)}}};
        std::optional<decltype(read(std::declval<const WmiObject&>()))> result;
        Connect()->ForEach(kQuery, [&](const WmiObject& object) { result = read(object); });
        return result.value();
    }
    OptionalText TextOf(FakeValue value) {
        return ReadOf(std::move(value), [](const WmiObject& object) { return object.Text(L"P"); });
    }
    OptionalText NumberTextOf(FakeValue value) {
        return ReadOf(std::move(value), [](const WmiObject& object) { return object.NumberText(L"P"); });
    }
    OptionalText FirstTextOf(FakeValue value) {
        return ReadOf(std::move(value), [](const WmiObject& object) { return object.FirstText(L"P"); });
    }
    Integers IntegersOf(FakeValue value) {
        return ReadOf(std::move(value), [](const WmiObject& object) { return object.Integers(L"P"); });
    }

    FakeWbem wbem;
    ComPtr<IWbemLocator> locator;
    WmiQueryObserver observe;
};

FakeValue TwoDimensions(VARTYPE type) {
    return [type](VARIANT& value) {
        SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
        V_VT(&value) = static_cast<VARTYPE>(VT_ARRAY | type);
        V_ARRAY(&value) = SafeArrayCreate(type, 2, bounds);
        return S_OK;
    };
}

FakeValue NullArray(VARTYPE type) {
    return [type](VARIANT& value) {
        V_VT(&value) = static_cast<VARTYPE>(VT_ARRAY | type);
        V_ARRAY(&value) = nullptr;
        return S_OK;
    };
}

// An array whose property says another element type than the array itself.
FakeValue Mislabelled(const FakeValue& array, VARTYPE type) {
    return [array, type](VARIANT& value) {
        array(value);
        V_VT(&value) = static_cast<VARTYPE>(VT_ARRAY | type);
        return S_OK;
    };
}

// An array that is locked so often that no element can be fetched. Freed by the test.
FakeValue Unfetchable(const FakeValue& array, SAFEARRAY*& kept) {
    return [array, &kept](VARIANT& value) {
        array(value);
        kept = V_ARRAY(&value);
        kept->cLocks = 0xFFFF;
        return S_OK;
    };
}

void FreeUnfetchable(SAFEARRAY* kept) {
    kept->cLocks = 0;
    SafeArrayDestroy(kept);
}

TEST_F(WmiQuery, ReadsAStringOnlyFromAString) {
    EXPECT_EQ(L"text", TextOf(TextValue(L"text")));
    EXPECT_EQ(L"", TextOf(TextValue(L"")));
    EXPECT_EQ(L"", TextOf(NullTextValue()));
    EXPECT_EQ(std::nullopt, TextOf(NullValue()));
    EXPECT_EQ(std::nullopt, TextOf(IntegerValue(VT_I4, 5)));
    EXPECT_EQ(std::nullopt, TextOf(TextsValue({L"text"})));
    EXPECT_EQ(std::nullopt, TextOf(FailingValue(WBEM_E_ACCESS_DENIED)));
}

TEST_F(WmiQuery, ReadsNothingFromAMissingProperty) {
    Query().objects = {{}};

    Connect()->ForEach(kQuery, [](const WmiObject& object) {
        EXPECT_EQ(std::nullopt, object.Text(L"P"));
        EXPECT_EQ(std::nullopt, object.NumberText(L"P"));
        EXPECT_EQ(std::nullopt, object.FirstText(L"P"));
        EXPECT_EQ(Integers(), object.Integers(L"P"));
    });
}

TEST_F(WmiQuery, ReadsANumberTextFromTextsAndIntegers) {
    EXPECT_EQ(L"10000000000", NumberTextOf(TextValue(L"10000000000")));
    EXPECT_EQ(L"", NumberTextOf(NullTextValue()));
    EXPECT_EQ(L"1000000000", NumberTextOf(IntegerValue(VT_I4, 1'000'000'000)));
    EXPECT_EQ(L"4294967295", NumberTextOf(IntegerValue(VT_UI4, 4'294'967'295)));
    EXPECT_EQ(L"25000000000", NumberTextOf(IntegerValue(VT_I8, 25'000'000'000)));
    EXPECT_EQ(L"25000000000", NumberTextOf(IntegerValue(VT_UI8, 25'000'000'000)));
    EXPECT_EQ(L"100", NumberTextOf(IntegerValue(VT_UI1, 100)));
    EXPECT_EQ(L"-1", NumberTextOf(IntegerValue(VT_I2, -1)));
    EXPECT_EQ(std::nullopt, NumberTextOf(NullValue()));
    EXPECT_EQ(std::nullopt, NumberTextOf(IntegersValue(VT_I4, {5})));
    EXPECT_EQ(std::nullopt, NumberTextOf(FailingValue(E_OUTOFMEMORY)));
}

TEST_F(WmiQuery, ReadsTheFirstTextOfAnArray) {
    EXPECT_EQ(L"first", FirstTextOf(TextsValue({L"first", L"second"})));
    EXPECT_EQ(L"first", FirstTextOf(TextsValue({L"first", L"second"}, 1)));
    EXPECT_EQ(L"first", FirstTextOf(TextsValue({L"first", L"second"}, -7)));
    EXPECT_EQ(L"", FirstTextOf(TextsValue({std::nullopt, L"second"})));
    EXPECT_EQ(std::nullopt, FirstTextOf(TextsValue({})));
    EXPECT_EQ(std::nullopt, FirstTextOf(NullValue()));
    EXPECT_EQ(std::nullopt, FirstTextOf(TextValue(L"first")));
    EXPECT_EQ(std::nullopt, FirstTextOf(IntegersValue(VT_I4, {5})));
    EXPECT_EQ(std::nullopt, FirstTextOf(NullArray(VT_BSTR)));
    EXPECT_EQ(std::nullopt, FirstTextOf(TwoDimensions(VT_BSTR)));
    EXPECT_EQ(std::nullopt, FirstTextOf(Mislabelled(IntegersValue(VT_I8, {5}), VT_BSTR)));
}

TEST_F(WmiQuery, ReadsIntegersOfEveryWidthUpTo32Bits) {
    for (const VARTYPE type : {VT_I1, VT_UI1, VT_I2, VT_UI2, VT_I4, VT_UI4, VT_INT, VT_UINT}) {
        EXPECT_EQ((Integers{3, 24, 0}), IntegersOf(IntegersValue(type, {3, 24, 0}))) << type;
    }
    EXPECT_EQ((Integers{-1}), IntegersOf(IntegersValue(VT_I2, {-1})));
    EXPECT_EQ((Integers{65535}), IntegersOf(IntegersValue(VT_UI2, {65535})));
}

TEST_F(WmiQuery, ReadsIntegersBetweenAnyBounds) {
    EXPECT_EQ((Integers{3, 4}), IntegersOf(IntegersValue(VT_I4, {3, 4}, 1)));
    EXPECT_EQ((Integers{3, 4}), IntegersOf(IntegersValue(VT_I4, {3, 4}, -1)));
    EXPECT_EQ((Integers{3, 4}), IntegersOf(IntegersValue(VT_I4, {3, 4}, INT32_MAX - 2)));
    EXPECT_EQ((Integers{}), IntegersOf(IntegersValue(VT_I4, {})));
}

TEST_F(WmiQuery, ReadsIntegersByTheArraysOwnType) {
    EXPECT_EQ((Integers{3, 4}), IntegersOf(Mislabelled(IntegersValue(VT_UI2, {3, 4}), VT_I4)));
    EXPECT_EQ((Integers{}), IntegersOf(Mislabelled(TextsValue({L"3"}), VT_I4)));
}

TEST_F(WmiQuery, ReadsNoIntegersFromOtherValues) {
    EXPECT_EQ((Integers{}), IntegersOf(NullValue()));
    EXPECT_EQ((Integers{}), IntegersOf(IntegerValue(VT_I4, 3)));
    EXPECT_EQ((Integers{}), IntegersOf(TextsValue({L"3"})));
    EXPECT_EQ((Integers{}), IntegersOf(NullArray(VT_I4)));
    EXPECT_EQ((Integers{}), IntegersOf(TwoDimensions(VT_I4)));
    EXPECT_EQ((Integers{}), IntegersOf(FailingValue(WBEM_E_NOT_FOUND)));
}

TEST_F(WmiQuery, SkipsElementsThatCannotBeFetched) {
    SAFEARRAY* kept = nullptr;
    EXPECT_EQ((Integers{}), IntegersOf(Unfetchable(IntegersValue(VT_I4, {3, 4}), kept)));
    FreeUnfetchable(kept);
    EXPECT_EQ(std::nullopt, FirstTextOf(Unfetchable(TextsValue({L"first"}), kept)));
    FreeUnfetchable(kept);
}

TEST_F(WmiQuery, DoesNotConnectWhenTheNamespaceFailsOrIsMissing) {
    wbem.namespaces[kSpace].result = WBEM_E_ACCESS_DENIED;
    EXPECT_FALSE(Connect());

    wbem.namespaces[kSpace].result = S_OK;
    wbem.namespaces[kSpace].withoutService = true;
    EXPECT_FALSE(Connect());
}

TEST_F(WmiQuery, FailsWhenTheQueryFailsOrYieldsNoEnumerator) {
    int visits = 0;
    const auto count = [&](const WmiObject&) { ++visits; };
    Query().objects = {{}};

    Query().result = WBEM_E_INVALID_CLASS;
    EXPECT_FALSE(Connect()->ForEach(kQuery, count));
    Query().result = S_OK;
    Query().withoutEnumerator = true;
    EXPECT_FALSE(Connect()->ForEach(kQuery, count));

    EXPECT_EQ(0, visits);
}

TEST_F(WmiQuery, VisitsWhatCameBeforeAnEnumerationFailed) {
    for (const HRESULT end : {S_FALSE, S_OK, static_cast<HRESULT>(WBEM_E_TRANSPORT_FAILURE)}) {
        int visits = 0;
        Query().objects = {{}, {}};
        Query().end = end;

        EXPECT_TRUE(Connect()->ForEach(kQuery, [&](const WmiObject&) { ++visits; }));

        EXPECT_EQ(2, visits);
    }
}

TEST_F(WmiQuery, ReportsTheTimeOfAQuery) {
    std::vector<WmiQueryReport> reports;
    observe = [&](const WmiQueryReport& report) { reports.push_back(report); };
    Query().objects = {{}, {}};
    Query().end = WBEM_E_TRANSPORT_FAILURE;

    Connect()->ForEach(kQuery, [](const WmiObject&) {});
    Query().result = WBEM_E_INVALID_CLASS;
    Connect()->ForEach(kQuery, [](const WmiObject&) {});

    ASSERT_EQ(2U, reports.size());
    EXPECT_STREQ(kQuery, reports[0].query);
    EXPECT_EQ(WBEM_E_TRANSPORT_FAILURE, reports[0].result);
    EXPECT_EQ(2U, reports[0].objects);
    EXPECT_GE(reports[0].elapsed.count(), 0);
    EXPECT_EQ(WBEM_E_INVALID_CLASS, reports[1].result);
    EXPECT_EQ(0U, reports[1].objects);
}

TEST_F(WmiQuery, ReleasesEverythingWhenAVisitThrows) {
    Query().objects = {{}, {}};

    EXPECT_THROW(Connect()->ForEach(kQuery, [](const WmiObject&) { throw 1; }), int);

    locator.Reset();
    EXPECT_EQ(0, wbem.LiveObjects());
}

} // namespace
} // namespace zq::test
