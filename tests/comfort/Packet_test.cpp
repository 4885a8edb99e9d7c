// Packets as sequences of variables: those of the module, and those of somebody else.
#include "comfort/OpenModule.h"

namespace zq::test {
namespace {

using PacketBytes = std::vector<unsigned char>;

class Packets : public OpenModule {};

PacketView ViewOf(const PacketBytes& bytes) { return {bytes.data(), bytes.size()}; }

std::vector<std::wstring> NamesOf(PacketView packet) {
    std::vector<std::wstring> names;
    for (const PacketVariable& variable : packet) {
        names.push_back(variable.name);
    }
    return names;
}

using Names = std::vector<std::wstring>;

// One record: type, lengths, name and value.
void Append(PacketBytes& packet, unsigned char type, const std::string& name, const std::string& value) {
    for (const size_t number : {size_t{type}, name.size(), value.size()}) {
        for (int shift = 0; shift < 32; shift += 8) {
            packet.push_back(static_cast<unsigned char>(number >> shift));
        }
    }
    packet.insert(packet.end(), name.begin(), name.end());
    packet.insert(packet.end(), value.begin(), value.end());
}

const PacketBytes kUtf8Header{0xBF, 0xFE, 0xEB, 1, 0xE9, 0xFD, 0, 0};

TEST_F(Packets, HoldEveryVariableWithItsValue) {
    module.removeAll();
    module.set(L"Flag", true);
    module.set(L"Number", -7);
    module.set(L"Real", 0.25);
    module.set(L"Text", L"odd\u00E9");
    module.set(L"Block", std::vector<std::byte>{std::byte{1}, std::byte{2}, std::byte{3}});

    const Packet packet = module.pack();
    ASSERT_TRUE(packet.view().isWhole());
    int seen = 0;
    for (const PacketVariable& variable : packet) {
        ++seen;
        if (variable.name == L"Flag") {
            EXPECT_EQ(true, variable.as<bool>());
            EXPECT_EQ(std::nullopt, variable.as<int64_t>());
        } else if (variable.name == L"Number") {
            EXPECT_EQ(-7, variable.as<int64_t>());
        } else if (variable.name == L"Real") {
            EXPECT_EQ(0.25, variable.as<double>());
        } else if (variable.name == L"Text") {
            EXPECT_EQ(L"odd\u00E9", variable.as<std::wstring>());
        } else {
            EXPECT_EQ(L"Block", variable.name);
            EXPECT_EQ(3u, variable.as<std::vector<std::byte>>()->size());
        }
    }
    EXPECT_EQ(5, seen);
}

TEST_F(Packets, ComeBackAsTheSameVariables) {
    const Packet packet = module.pack();
    module.removeAll();
    EXPECT_TRUE(module.unpack(packet.view()));
    EXPECT_EQ(L"default", module.get<std::wstring>(L"Source"));
    EXPECT_EQ(packet.size(), module.pack().size());
}

TEST_F(Packets, OfASingleValueNeedNoVariable) {
    const Packet packet = module.pack(L"One", VariableTypeBool, "\1", 1);
    EXPECT_EQ((Names{L"One"}), NamesOf(packet.view()));
    EXPECT_EQ(true, packet.begin()->as<bool>());
}

TEST_F(Packets, OfUtf8AreReadToo) {
    PacketBytes bytes = kUtf8Header;
    Append(bytes, 4, "caf\xC3\xA9", "\xE2\x82\xAC");
    const PacketView packet = ViewOf(bytes);
    ASSERT_TRUE(packet.isWhole());
    EXPECT_EQ(L"caf\u00E9", packet.begin()->name);
    EXPECT_EQ(L"\u20AC", packet.begin()->as<std::wstring>());
}

TEST_F(Packets, AreReadAsTheModuleReadsThem) {
    PacketBytes bytes = kUtf8Header;
    Append(bytes, 2, "Short", "1234");   // too few bytes for its type: skipped
    Append(bytes, 9, "Unknown", "1234"); // no such type: skipped
    Append(bytes, 1, "Long", "\1more");  // the first byte counts
    // Names and texts end at a zero.
    Append(bytes, 4, std::string("Cut\0off", 7), std::string("te\0xt", 5));
    Append(bytes, 1, std::string("\0", 1), "\1"); // no name: reading stops
    Append(bytes, 1, "Lost", "\1");

    EXPECT_EQ((Names{L"Long", L"Cut"}), NamesOf(ViewOf(bytes)));
    EXPECT_FALSE(ViewOf(bytes).isWhole());
    ASSERT_TRUE(module.unpack(ViewOf(bytes)));
    EXPECT_EQ(true, module.get<bool>(L"Long"));
    EXPECT_EQ(L"te", module.get<std::wstring>(L"Cut"));
    EXPECT_EQ(std::nullopt, module.get<bool>(L"Lost"));
}

TEST_F(Packets, EndAtDamageOfEveryLength) {
    module.removeAll();
    module.set(L"A", 1);
    module.set(L"B", L"text");
    const Packet packet = module.pack();
    for (size_t size = 0; size < packet.size(); ++size) {
        const PacketBytes cut(reinterpret_cast<const unsigned char*>(packet.data()),
                              reinterpret_cast<const unsigned char*>(packet.data()) + size);
        EXPECT_LT(NamesOf(ViewOf(cut)).size(), 2u);
        EXPECT_EQ(size >= 8, ViewOf(cut).isPacket());
    }
    EXPECT_EQ((Names{L"A", L"B"}), NamesOf(packet.view()));
}

TEST_F(Packets, WithNegativeLengthsOrOtherBytesAreEmpty) {
    PacketBytes bytes = kUtf8Header;
    Append(bytes, 1, "A", "\1");
    bytes[12 + 3] = 0xFF; // the name's length
    EXPECT_EQ(Names{}, NamesOf(ViewOf(bytes)));
    bytes[0] = 0;
    EXPECT_FALSE(ViewOf(bytes).isPacket());
    EXPECT_FALSE(module.unpack(ViewOf(bytes)));
    EXPECT_FALSE(module.unpack({}));
    EXPECT_EQ(Names{}, NamesOf(Packet().view()));
}

} // namespace
} // namespace zq::test
