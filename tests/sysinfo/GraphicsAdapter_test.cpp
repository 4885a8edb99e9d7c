#include "sysinfo/GraphicsAdapter.h"

#include "sysinfo/SurveyFixture.h"
#include "sysinfo/WmiQuery.h"

namespace zq::test {
namespace {

class GraphicsAdapter : public SurveyFixture {
protected:
    std::optional<zq::GraphicsAdapter> Read(FakeObject properties) {
        Graphics().objects = {std::move(properties)};
        std::optional<zq::GraphicsAdapter> adapter;
        RunOnNewThread([&] {
            CoInitializeEx(nullptr, COINIT_MULTITHREADED);
            ReadFirst(adapter);
            CoUninitialize();
        });
        return adapter;
    }

    GraphicsVendor VendorOf(const wchar_t* deviceId) {
        return Read({{L"PNPDeviceID", TextValue(deviceId)}})->vendor;
    }

private:
    static void ReadFirst(std::optional<zq::GraphicsAdapter>& adapter) {
        const WmiQueryObserver noObserver;
        Microsoft::WRL::ComPtr<IWbemLocator> locator;
        CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER,
                         IID_PPV_ARGS(locator.GetAddressOf()));
        WmiService::Connect(*locator.Get(), kCimv2, noObserver)
            ->ForEach(kGraphicsQuery,
                      [&](const WmiObject& object) { adapter = ReadGraphicsAdapter(object); });
    }
};

TEST_F(GraphicsAdapter, KnowsItsVendorByTheDeviceId) {
    EXPECT_EQ(GraphicsVendor::Nvidia, VendorOf(L"PCI\\VEN_10DE&DEV_2684&SUBSYS_16F310DE"));
    EXPECT_EQ(GraphicsVendor::Amd, VendorOf(L"PCI\\VEN_1002&DEV_744C"));
    EXPECT_EQ(GraphicsVendor::Amd, VendorOf(L"PCI\\VEN_1022&DEV_1506"));
    EXPECT_EQ(GraphicsVendor::Other, VendorOf(L"PCI\\VEN_8086&DEV_56A0"));
    EXPECT_EQ(GraphicsVendor::Other, VendorOf(L"pci\\ven_10de&dev_2684"));
    EXPECT_EQ(GraphicsVendor::Other, VendorOf(L"PCI\\DEV_10DE&DEV_1002"));
    EXPECT_EQ(GraphicsVendor::Other, VendorOf(L""));
    EXPECT_EQ(GraphicsVendor::Nvidia, VendorOf(L"VEN_1002&VEN_10DE"));
}

TEST_F(GraphicsAdapter, NumbersItsVendors) {
    EXPECT_EQ(0, static_cast<int>(GraphicsVendor::Nvidia));
    EXPECT_EQ(1, static_cast<int>(GraphicsVendor::Amd));
    EXPECT_EQ(2, static_cast<int>(GraphicsVendor::Other));
}

TEST_F(GraphicsAdapter, HoldsNameAndDriverVersion) {
    const auto adapter = Read({{L"PNPDeviceID", TextValue(L"PCI\\VEN_10DE")},
                               {L"Name", TextValue(L"Big Card")},
                               {L"DriverVersion", TextValue(L"31.0.15.3713")}});

    EXPECT_EQ("Big Card", adapter->name);
    EXPECT_EQ("31.0.15.3713", adapter->driverVersion);
}

TEST_F(GraphicsAdapter, HasDefaultsForMissingTexts) {
    const auto adapter = Read({{L"PNPDeviceID", TextValue(L"PCI\\VEN_10DE")}, {L"Name", NullValue()}});

    EXPECT_EQ("NA", adapter->name);
    EXPECT_EQ("0.0.0.0", adapter->driverVersion);
}

TEST_F(GraphicsAdapter, KeepsEmptyTextsAsTheyAre) {
    const auto adapter = Read(
        {{L"PNPDeviceID", TextValue(L"")}, {L"Name", TextValue(L"")}, {L"DriverVersion", NullTextValue()}});

    EXPECT_EQ("", adapter->name);
    EXPECT_EQ("", adapter->driverVersion);
}

TEST_F(GraphicsAdapter, IsNothingWithoutADeviceId) {
    EXPECT_FALSE(Read({{L"Name", TextValue(L"Big Card")}}));
    EXPECT_FALSE(Read({{L"PNPDeviceID", NullValue()}, {L"Name", TextValue(L"Big Card")}}));
    EXPECT_FALSE(Read({{L"PNPDeviceID", IntegerValue(VT_I4, 7)}}));
}

} // namespace
} // namespace zq::test
