// Packets between module objects, valid and damaged, as a host makes and frees them.
#include "support/LongForm.h"
#include "support/win32/Module.h"
#include "support/win32/VariableHost.h"
#include "support/win32/Waiting.h"

#include "ZQPacketMemory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <random>

namespace zq::test {
namespace {

struct PacketFreer {
    void operator()(unsigned char* packet) const { ZQFreePacket(packet); }
};

struct Packet {
    std::unique_ptr<unsigned char, PacketFreer> bytes;
    size_t size = 0;

    std::vector<unsigned char> Copy() const { return {bytes.get(), bytes.get() + size}; }
};

Packet PackAll(const Module& module) {
    Packet packet;
    packet.bytes.reset(static_cast<unsigned char*>(module.Variables().PackAllVariables(&packet.size)));
    return packet;
}

Packet Pack(const Module& module, const wchar_t* name, uint32_t type, const void* value, size_t length) {
    Packet packet;
    packet.bytes.reset(static_cast<unsigned char*>(
        module.Variables().PackVariable(name, type, value, length, &packet.size)));
    return packet;
}

int32_t Unpack(const Module& module, const std::vector<unsigned char>& bytes,
               CZQVariableHost* source = nullptr) {
    return module.Variables().UnpackVariables(bytes.data(), bytes.size(), source);
}

std::vector<unsigned char> operator+(std::vector<unsigned char> packet, const Packet& records) {
    packet.insert(packet.end(), records.bytes.get() + 8, records.bytes.get() + records.size);
    return packet;
}

const std::vector<unsigned char> kHeader = {0xBF, 0xFE, 0xEB, 1, 0, 0, 0, 0};

std::wstring NameOf(int i) { return L"CL.DEVICE" + std::to_wstring(i / 10) + L".M" + std::to_wstring(i); }

// A thousand names in each of the five types, twice over.
void SetTenThousand(CZQVariable& variables) {
    for (int i = 0; i < 2000; ++i) {
        const std::wstring name = NameOf(i);
        const std::wstring text(static_cast<size_t>(i % 50), static_cast<wchar_t>(L'a' + i % 26));
        variables.SetVariableBool(name.c_str(), static_cast<ZQBool>(i), nullptr, 0);
        variables.SetVariableInt64(name.c_str(), std::numeric_limits<int64_t>::min() + i, nullptr, 0);
        variables.SetVariableDouble(name.c_str(), i / 7.0, nullptr, 0);
        variables.SetVariableString(name.c_str(), text.c_str(), nullptr, 0);
        variables.SetVariableBinary(name.c_str(), text.size(), text.data(), nullptr, 0);
    }
}

void ExpectEqual(const Module& expected, const Module& actual) {
    for (int i = 0; i < 2000; ++i) {
        const std::wstring name = NameOf(i);
        ASSERT_EQ(expected.Bool(name.c_str()), actual.Bool(name.c_str()));
        ASSERT_EQ(expected.Int64(name.c_str()), actual.Int64(name.c_str()));
        ASSERT_EQ(expected.Double(name.c_str()), actual.Double(name.c_str()));
        ASSERT_EQ(expected.Binary(name.c_str()), actual.Binary(name.c_str()));
        wchar_t left[64] = L"";
        wchar_t right[64] = L"#";
        ASSERT_TRUE(expected.Variables().GetVariableString(name.c_str(), left, 64));
        ASSERT_TRUE(actual.Variables().GetVariableString(name.c_str(), right, 64));
        ASSERT_STREQ(left, right);
    }
}

TEST(Packets, AnEmptyStoreIsOnlyTheHeader) {
    const Module module;

    EXPECT_EQ(kHeader, PackAll(module).Copy());
}

TEST(Packets, OnlyAHeaderUnpacksToNothing) {
    const Module module;

    EXPECT_EQ(1, Unpack(module, kHeader));

    EXPECT_EQ(8u, PackAll(module).size);
}

TEST(Packets, AShortOrForeignPacketIsRefused) {
    const Module module;

    EXPECT_EQ(0, module.Variables().UnpackVariables(nullptr, 0, nullptr));
    EXPECT_EQ(0, Unpack(module, {0xBF, 0xFE, 0xEB, 1, 0, 0, 0}));
    EXPECT_EQ(0, Unpack(module, {0xBF, 0xFE, 0xEA, 1, 0, 0, 0, 0}));
    EXPECT_EQ(1, Unpack(module, {0xBF, 0xFE, 0xEB, 9, 0, 0, 0, 0}));
}

TEST(Packets, OneValueIsFramedWithoutTouchingTheStore) {
    const Module module;

    const Packet packet = Pack(module, L"A", 77, "xyz", 3);

    EXPECT_EQ((std::vector<unsigned char>{0xBF, 0xFE, 0xEB, 1, 0, 0, 0, 0,   77, 0,   0,   0,  2,
                                          0,    0,    0,    3, 0, 0, 0, 'A', 0,  'x', 'y', 'z'}),
              packet.Copy());
    EXPECT_EQ(8u, PackAll(module).size);
}

TEST(Packets, OneLargeValueFits) {
    const Module module;
    const std::vector<unsigned char> value(1'000'000, 0xA5);

    const Packet packet = Pack(module, L"A", VariableTypeBinary, value.data(), value.size());
    EXPECT_EQ(1, Unpack(module, packet.Copy()));

    EXPECT_EQ(value, module.Binary(L"A"));
}

// The bytes of the block that holds a packet.
size_t BlockBytes(const Packet& packet) { return HeapSize(GetProcessHeap(), 0, packet.bytes.get()); }

TEST(Packets, TheirBlockHas8192BytesOrTwiceAsManyUntilTheyFit) {
    const Module module;
    // The header of the packet, that of the record and the name.
    constexpr size_t kAround = 8 + 12 + 2;
    const std::vector<unsigned char> value(100'000, 0xA5);

    for (const auto& [length, block] : {std::pair<size_t, size_t>{0, 8192},
                                        {8192 - kAround, 8192},
                                        {8193 - kAround, 16384},
                                        {16384 - kAround, 16384},
                                        {16385 - kAround, 32768},
                                        {100'000, 131'072}}) {
        const Packet one = Pack(module, L"A", VariableTypeBinary, value.data(), length);
        EXPECT_EQ(block, BlockBytes(one)) << length;
        EXPECT_EQ(kAround + length, one.size);
        EXPECT_EQ(0, std::memcmp(one.bytes.get() + kAround, value.data(), length));

        module.Variables().SetVariableBinary(L"A", length, value.data(), nullptr, 0);
        const Packet all = PackAll(module);
        EXPECT_EQ(block, BlockBytes(all)) << length;
        EXPECT_EQ(one.Copy(), all.Copy());
    }
}

uint64_t BitsOf(double value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

TEST(Packets, NaNsArriveBitForBit) {
    const Module module;
    double odd = std::numeric_limits<double>::quiet_NaN();
    uint64_t bits = BitsOf(odd) | 0xABC; // what a NaN carries
    std::memcpy(&odd, &bits, sizeof(odd));
    for (const double value : {odd, -odd, std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity(), -0.0, 5e-324}) {
        module.Variables().RemoveAllVariables();
        module.Variables().SetVariableDouble(L"A", value, nullptr, 0);
        const Packet packet = PackAll(module);
        const Module other;

        EXPECT_EQ(1, Unpack(other, packet.Copy()));

        const auto arrived = other.Double(L"A");
        ASSERT_TRUE(arrived.has_value());
        EXPECT_EQ(BitsOf(value), BitsOf(*arrived));
        EXPECT_EQ(packet.Copy(), PackAll(other).Copy());
    }
}

TEST(Packets, UnpackedMinusZeroOverZeroChangesNothingAndNaNOverNaNNotifies) {
    const Module module;
    NoticeHost host;
    module.Variables().SetVariableDouble(L"Zero", 0.0, nullptr, 0);
    module.Variables().SetVariableDouble(L"NaN", std::numeric_limits<double>::quiet_NaN(), nullptr, 0);
    module.Variables().RegisterHost(&host);
    const double zero = -0.0;
    const double nan = std::numeric_limits<double>::quiet_NaN();

    Unpack(module, Pack(module, L"Zero", VariableTypeDouble, &zero, sizeof(zero)).Copy());
    Unpack(module, Pack(module, L"NaN", VariableTypeDouble, &nan, sizeof(nan)).Copy());

    EXPECT_TRUE(WaitFor([&] { return host.Count() == 1; }));
    EXPECT_EQ(L"NaN", host.Notices().front().name);
    EXPECT_EQ(BitsOf(0.0), BitsOf(*module.Double(L"Zero")));
    module.Variables().UnregisterHost(&host);
}

TEST(Packets, MapsFollowOneAnotherByType) {
    const Module module;
    module.Variables().SetVariableBinary(L"A", 1, "x", nullptr, 0);
    module.Variables().SetVariableString(L"A", L"t", nullptr, 0);
    module.Variables().SetVariableDouble(L"A", 1, nullptr, 0);
    module.Variables().SetVariableInt64(L"A", 1, nullptr, 0);
    module.Variables().SetVariableBool(L"A", 1, nullptr, 0);

    const std::vector<unsigned char> bytes = PackAll(module).Copy();

    ASSERT_EQ(8u + 15 + 22 + 22 + 16 + 15, bytes.size());
    EXPECT_EQ(1, bytes[8]);
    EXPECT_EQ(2, bytes[8 + 15]);
    EXPECT_EQ(3, bytes[8 + 15 + 22]);
    EXPECT_EQ(4, bytes[8 + 15 + 22 + 22]);
    EXPECT_EQ(5, bytes[8 + 15 + 22 + 22 + 16]);
}

TEST(Packets, AnEmptyNameInTheSecondRecordEndsTheReading) {
    const Module module;
    const Module target;

    const auto bytes = kHeader + Pack(module, L"A", 1, "\1", 1) + Pack(module, L"", 1, "\1", 1) +
                       Pack(module, L"B", 1, "\1", 1);
    EXPECT_EQ(1, Unpack(target, bytes));

    EXPECT_EQ(1, target.Bool(L"A"));
    EXPECT_FALSE(target.Bool(L""));
    EXPECT_FALSE(target.Bool(L"B"));
}

TEST(Packets, RecordsOfOtherTypesOrTooShortAreSkipped) {
    const Module module;
    const char value[8] = {1, 0, 0, 0, 0, 0, 0, 0};

    const auto bytes = kHeader + Pack(module, L"A", 0, value, 8) + Pack(module, L"A", 6, value, 8) +
                       Pack(module, L"A", 1, value, 0) + Pack(module, L"A", 2, value, 7) +
                       Pack(module, L"A", 3, value, 7) + Pack(module, L"B", 2, value, 8);
    EXPECT_EQ(1, Unpack(module, bytes));

    EXPECT_FALSE(module.Bool(L"A"));
    EXPECT_FALSE(module.Int64(L"A"));
    EXPECT_FALSE(module.Double(L"A"));
    EXPECT_EQ(1, module.Int64(L"B"));
}

TEST(Packets, MoreBytesThanATypeNeedsAreIgnored) {
    const Module module;
    const char value[9] = {7, 0, 0, 0, 0, 0, 0, 0, 9};

    EXPECT_EQ(1, Unpack(module, kHeader + Pack(module, L"A", 1, value, 9) + Pack(module, L"A", 2, value, 9)));

    EXPECT_EQ(7, module.Bool(L"A"));
    EXPECT_EQ(7, module.Int64(L"A"));
}

TEST(Packets, Utf8IsRead) {
    const Module module;

    EXPECT_EQ(1, Unpack(module, {0xBF, 0xFE, 0xEB, 1, 0xE9, 0xFD, 0, 0,    4,    0,    0,    0,   2,
                                 0,    0,    0,    3, 0,    0,    0, 0xC3, 0xA4, 0xE2, 0x82, 0xAC}));

    EXPECT_EQ(L"\u20AC", module.String(L"\u00E4"));
}

TEST(Packets, AnEmptyTextAndAnEmptyBinaryArrive) {
    const Module module;

    EXPECT_EQ(
        1, Unpack(module, kHeader + Pack(module, L"A", 4, nullptr, 0) + Pack(module, L"A", 5, nullptr, 0)));

    EXPECT_EQ(L"", module.String(L"A"));
    EXPECT_EQ(std::vector<unsigned char>(), module.Binary(L"A"));
}

TEST(Packets, TenThousandVariablesOfAllTypesReachAnotherModule) {
    const Module source;
    const Module target;
    SetTenThousand(source.Variables());

    EXPECT_EQ(1, Unpack(target, PackAll(source).Copy()));

    ExpectEqual(source, target);
    EXPECT_EQ(PackAll(source).size, PackAll(target).size);
}

TEST(Packets, UnpackingAgainNotifiesOfBinariesOnlyAndNeverTheSource) {
    const Module module;
    SetTenThousand(module.Variables());
    NoticeHost host;
    NoticeHost source;
    module.Variables().RegisterHost(&host);
    module.Variables().RegisterHost(&source);

    EXPECT_EQ(1, Unpack(module, PackAll(module).Copy(), &source));
    module.Variables().SetVariableBool(L"Last", 1, nullptr, 0);

    EXPECT_TRUE(WaitFor([&] { return host.Count() == 2001 && source.Count() == 1; }));
    const std::vector<Notice> notices = host.Notices();
    for (size_t i = 0; i + 1 < notices.size(); ++i) {
        ASSERT_EQ(5u, notices[i].type);
        ASSERT_EQ(&source, notices[i].source);
    }
    module.Variables().UnregisterHost(&host);
    module.Variables().UnregisterHost(&source);
}

TEST(Packets, APacketIsAnOrdinaryBlockOfTheProcessHeap) {
    const Module module;
    size_t size = 0;

    void* byHelper = module.Variables().PackAllVariables(&size);
    ASSERT_TRUE(HeapValidate(GetProcessHeap(), 0, byHelper));
    EXPECT_EQ(8192u, HeapSize(GetProcessHeap(), 0, byHelper));
    ZQFreePacket(byHelper);

    // What delete[] of the Microsoft run-time's release build comes down to.
    void* byHeap = module.Variables().PackVariable(L"A", 1, "", 1, &size);
    ASSERT_TRUE(HeapValidate(GetProcessHeap(), 0, byHeap));
    EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, byHeap));

    ZQFreePacket(nullptr);
    EXPECT_TRUE(HeapValidate(GetProcessHeap(), 0, nullptr));
}

// Memory whose last byte lies before an unreadable page.
class GuardedBytes {
public:
    static constexpr size_t kPage = 4096;

    GuardedBytes() : m_base(static_cast<unsigned char*>(Reserve())) {
        DWORD before = 0;
        VirtualProtect(m_base + kPage, kPage, PAGE_NOACCESS, &before);
    }
    ~GuardedBytes() { VirtualFree(m_base, 0, MEM_RELEASE); }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;

    const unsigned char* Put(const std::vector<unsigned char>& bytes) {
        unsigned char* start = m_base + kPage - bytes.size();
        std::copy(bytes.begin(), bytes.end(), start);
        return start;
    }

private:
    static void* Reserve() {
        return VirtualAlloc(nullptr, 2 * kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    }

    unsigned char* m_base;
};

std::vector<unsigned char> SmallPacket(const Module& module) {
    const char bytes[24] = "twenty-three characters";
    const wchar_t text[] = L"text";
    return kHeader + Pack(module, L"Bool", 1, bytes, 1) + Pack(module, L"Integer", 2, bytes, 8) +
           Pack(module, L"Double", 3, bytes, 8) + Pack(module, L"String", 4, text, 8) +
           Pack(module, L"Binary", 5, bytes, 24);
}

std::vector<unsigned char> Mutate(std::vector<unsigned char> bytes, std::mt19937& random) {
    if (random() % 4 == 0) {
        bytes[4] = 0xE9, bytes[5] = 0xFD;
    }
    for (uint32_t edits = random() % 4; edits > 0; --edits) {
        // Half of the edits damage lengths and headers, where damage matters most.
        const size_t place = random() % 2 == 0 ? random() % 32 : random() % bytes.size();
        bytes[place] = random() % 3 == 0 ? 0xFF : static_cast<unsigned char>(random());
    }
    if (random() % 2 == 0) {
        bytes.resize(random() % (bytes.size() + 1));
    }
    return bytes;
}

bool HasHeader(const std::vector<unsigned char>& bytes) {
    return bytes.size() >= 8 && std::equal(kHeader.begin(), kHeader.begin() + 3, bytes.begin());
}

TEST(Packets, DamagedPacketsAreReadNoFurtherThanTheirLastByte) {
    const Module module;
    GuardedBytes memory;
    std::mt19937 random(3);
    const std::vector<unsigned char> sound = SmallPacket(module);
    const int rounds = Long(100'000, 8'000);

    for (int i = 0; i < rounds; ++i) {
        const std::vector<unsigned char> mutant = Mutate(sound, random);
        ASSERT_EQ(HasHeader(mutant) ? 1 : 0,
                  module.Variables().UnpackVariables(memory.Put(mutant), mutant.size(), nullptr));
        if (i % 1000 == 0) {
            module.Variables().RemoveAllVariables();
        }
    }

    EXPECT_TRUE(HeapValidate(GetProcessHeap(), 0, nullptr));
}

} // namespace
} // namespace zq::test
