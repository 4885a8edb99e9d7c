// Packing and unpacking 100,000 mixed variables, beside MessagePack and cereal with the same maps at both
// ends.
#include "Rounds.h"

#include "CZQVariable.h"
#include "variables/VariableBatch.h"
#include "variables/VariablePacket.h"
#include "variables/VariableStore.h"

#include <cereal/archives/binary.hpp>
#include <cereal/types/string.hpp>
#include <msgpack.hpp>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>

namespace zq::bench {
namespace {

constexpr size_t kVariables = 100'000;
constexpr uint64_t kSeed = 0x5EED;

// Sets one variable of maps that are owned by the benchmark alone; the same code for all competitors.
class Sink {
public:
    ~Sink() { maps.RemoveBinaries(); }

    void Bool(std::wstring_view name, uint8_t value) { Entry(maps.bools, name) = value; }
    void Int64(std::wstring_view name, int64_t value) { Entry(maps.integers, name) = value; }
    void Double(std::wstring_view name, double value) { Entry(maps.doubles, name) = value; }
    void String(std::wstring_view name, std::wstring value) { Entry(maps.strings, name) = std::move(value); }
    void Binary(std::wstring_view name, const void* bytes, size_t length) {
        Entry(maps.binaries, name) = BinaryBlock::Make(bytes, length);
    }

    size_t Size() const {
        return maps.bools.Size() + maps.integers.Size() + maps.doubles.Size() + maps.strings.Size() +
               maps.binaries.Size();
    }

    VariableMaps maps{kSeed};

private:
    template <class Value>
    Value& Entry(VariableMap<Value>& map, std::wstring_view name) {
        return map.FindOrAdd(name, maps.Hash(name)).first->value;
    }
};

template <class Number>
Number NumberOf(std::span<const std::byte> bytes) {
    Number number;
    std::memcpy(&number, bytes.data(), sizeof(number));
    return number;
}

void UnpackOwn(std::span<const std::byte> packet, Sink& sink) {
    PacketReader reader(packet);
    PacketRecord record;
    while (reader.Next(record)) {
        switch (record.type) {
        case VariableTypeBool:
            sink.Bool(record.name, NumberOf<uint8_t>(record.value));
            break;
        case VariableTypeInt64:
            sink.Int64(record.name, NumberOf<int64_t>(record.value));
            break;
        case VariableTypeDouble:
            sink.Double(record.name, NumberOf<double>(record.value));
            break;
        case VariableTypeString:
            sink.String(record.name, reader.Decode(record.value));
            break;
        default:
            sink.Binary(record.name, record.value.data(), record.value.size());
        }
    }
}

// What the values come to when nobody keeps them.
size_t ReadOwn(std::span<const std::byte> packet) {
    PacketReader reader(packet);
    PacketRecord record;
    size_t bytes = 0;
    while (reader.Next(record)) {
        bytes += record.name.size() + record.value.size();
    }
    return bytes;
}

size_t CountNames(const VariableMaps& maps) {
    size_t units = 0;
    const auto count = [&](std::wstring_view name, const auto&) { units += name.size(); };
    maps.bools.ForEach(count);
    maps.integers.ForEach(count);
    maps.doubles.ForEach(count);
    maps.strings.ForEach(count);
    maps.binaries.ForEach(count);
    return units;
}

std::wstring_view WideOf(const char* bytes, size_t length) {
    return {reinterpret_cast<const wchar_t*>(bytes), length / sizeof(wchar_t)};
}

// MessagePack: one array of type, name and value, texts as strings of UTF-16 bytes, unpacked by reference.
class MessagePack {
public:
    void Pack(const Sink& from) {
        m_buffer = msgpack::sbuffer(); // a new block each time, as a packet is
        msgpack::packer<msgpack::sbuffer> packer(m_buffer);
        packer.pack_array(static_cast<uint32_t>(3 * from.Size()));
        const auto start = [&](uint32_t type, std::wstring_view name) {
            packer.pack(type);
            PackBytes(packer, name.data(), name.size() * sizeof(wchar_t));
        };
        from.maps.bools.ForEach([&](auto name, uint8_t value) { start(1, name), packer.pack(value); });
        from.maps.integers.ForEach([&](auto name, int64_t value) { start(2, name), packer.pack(value); });
        from.maps.doubles.ForEach([&](auto name, double value) { start(3, name), packer.pack(value); });
        from.maps.strings.ForEach([&](auto name, const std::wstring& value) {
            start(4, name), PackBytes(packer, value.data(), value.size() * sizeof(wchar_t));
        });
        from.maps.binaries.ForEach([&](auto name, const BinaryBlock* block) {
            start(5, name), PackBytes(packer, block->Bytes(), block->size);
        });
    }

    void Unpack(Sink& sink) const {
        const auto byReference = [](msgpack::type::object_type, std::size_t, void*) { return true; };
        const msgpack::object_handle handle = msgpack::unpack(m_buffer.data(), m_buffer.size(), byReference);
        const msgpack::object_array& array = handle->via.array;
        for (uint32_t i = 0; i < array.size; i += 3) {
            const std::wstring_view name =
                WideOf(array.ptr[i + 1].via.bin.ptr, array.ptr[i + 1].via.bin.size);
            Set(sink, array.ptr[i].as<uint32_t>(), name, array.ptr[i + 2]);
        }
    }

    size_t Read() const {
        const auto byReference = [](msgpack::type::object_type, std::size_t, void*) { return true; };
        return msgpack::unpack(m_buffer.data(), m_buffer.size(), byReference)->via.array.size;
    }

private:
    static void PackBytes(msgpack::packer<msgpack::sbuffer>& packer, const void* bytes, size_t length) {
        packer.pack_bin(static_cast<uint32_t>(length));
        packer.pack_bin_body(static_cast<const char*>(bytes), static_cast<uint32_t>(length));
    }

    static void Set(Sink& sink, uint32_t type, std::wstring_view name, const msgpack::object& value) {
        switch (type) {
        case VariableTypeBool:
            sink.Bool(name, value.as<uint8_t>());
            break;
        case VariableTypeInt64:
            sink.Int64(name, value.as<int64_t>());
            break;
        case VariableTypeDouble:
            sink.Double(name, value.as<double>());
            break;
        case VariableTypeString:
            sink.String(name, std::wstring(WideOf(value.via.bin.ptr, value.via.bin.size)));
            break;
        default:
            sink.Binary(name, value.via.bin.ptr, value.via.bin.size);
        }
    }

    msgpack::sbuffer m_buffer;
};

class Cereal {
public:
    void Pack(const Sink& from) {
        std::ostringstream stream;
        cereal::BinaryOutputArchive archive(stream);
        archive(static_cast<uint64_t>(from.Size()));
        const auto start = [&](uint32_t type, std::wstring_view name) {
            archive(type);
            PackText(archive, name.data(), name.size());
        };
        from.maps.bools.ForEach([&](auto name, uint8_t value) { start(1, name), archive(value); });
        from.maps.integers.ForEach([&](auto name, int64_t value) { start(2, name), archive(value); });
        from.maps.doubles.ForEach([&](auto name, double value) { start(3, name), archive(value); });
        from.maps.strings.ForEach(
            [&](auto name, const std::wstring& value) { start(4, name), archive(value); });
        from.maps.binaries.ForEach([&](auto name, const BinaryBlock* block) {
            start(5, name), PackText(archive, static_cast<const char*>(block->Bytes()), block->size);
        });
        m_bytes = std::move(stream).str();
    }

    void Unpack(Sink& sink) const {
        std::istringstream stream(m_bytes);
        cereal::BinaryInputArchive archive(stream);
        uint64_t count = 0;
        archive(count);
        std::wstring name;
        std::string bytes;
        for (uint64_t i = 0; i < count; ++i) {
            uint32_t type = 0;
            archive(type, name);
            Set(sink, type, name, archive, bytes);
        }
    }

private:
    // As cereal writes a string: its length in characters, then the characters.
    template <class Character>
    static void PackText(cereal::BinaryOutputArchive& archive, const Character* text, size_t length) {
        archive(cereal::make_size_tag(static_cast<cereal::size_type>(length)));
        archive(cereal::binary_data(text, length * sizeof(Character)));
    }

    static void Set(Sink& sink, uint32_t type, std::wstring_view name, cereal::BinaryInputArchive& archive,
                    std::string& bytes) {
        const auto read = [&](auto value) {
            archive(value);
            return value;
        };
        switch (type) {
        case VariableTypeBool:
            sink.Bool(name, read(uint8_t{}));
            break;
        case VariableTypeInt64:
            sink.Int64(name, read(int64_t{}));
            break;
        case VariableTypeDouble:
            sink.Double(name, read(double{}));
            break;
        case VariableTypeString:
            sink.String(name, read(std::wstring()));
            break;
        default:
            archive(bytes);
            sink.Binary(name, bytes.data(), bytes.size());
        }
    }

    std::string m_bytes;
};

void Fill(VariableStore& store) {
    VariableBatch batch;
    std::vector<std::wstring> texts(kVariables);
    for (size_t i = 0; i < kVariables; ++i) {
        const std::wstring name =
            L"CL.DEVICE" + std::to_wstring(i / 10) + L".Member" + std::to_wstring(i % 10);
        switch (i % 5) {
        case 0:
            batch.AddBool(name, static_cast<uint8_t>(i % 2));
            break;
        case 1:
            batch.AddInt64(name, static_cast<int64_t>(i * 1'000'003));
            break;
        case 2:
            batch.AddDouble(name, static_cast<double>(i) / 7);
            break;
        case 3:
            texts[i].assign(i % 40, L't');
            batch.AddString(name, texts[i]);
            break;
        default:
            store.SetBinary(name, name.data(), i % 60);
        }
    }
    store.Apply(batch);
}

void Check(const char* who, const Sink& sink) {
    if (sink.Size() != kVariables) {
        std::printf("%s unpacked %zu variables instead of %zu\n", who, sink.Size(), kVariables);
        std::exit(1);
    }
}

void Compare() {
    VariableStore store;
    Fill(store);
    const PacketWriter packet = store.PackAll();
    Sink source;
    UnpackOwn(packet.Bytes(), source);
    Check("the packet", source);
    MessagePack messagePack;
    Cereal cereal;

    std::vector<Competitor> packing = {
        {"PackAllVariables", [&] { Use(store.PackAll().Size()); }},
        {"msgpack-c", [&] { messagePack.Pack(source); }},
        {"cereal", [&] { cereal.Pack(source); }},
        {"floor: a copy of the packet",
         [&] {
             auto copy = std::make_unique_for_overwrite<std::byte[]>(packet.Size());
             std::memcpy(copy.get(), packet.Bytes().data(), packet.Size());
             Use(copy);
         }},
        {"floor: every name of the maps", [&] { Use(CountNames(source.maps)); }},
    };
    RunRounds(packing);
    Print("Packing 100,000 variables", packing, 1e-3, "ms");

    const auto unpackInto = [](const char* who, auto unpack) {
        return [who, unpack] {
            Sink sink;
            unpack(sink);
            Check(who, sink);
        };
    };
    std::vector<Competitor> unpacking = {
        {"packet codec and maps", unpackInto("the packet", [&](Sink& s) { UnpackOwn(packet.Bytes(), s); })},
        {"msgpack-c", unpackInto("msgpack-c", [&](Sink& s) { messagePack.Unpack(s); })},
        {"cereal", unpackInto("cereal", [&](Sink& s) { cereal.Unpack(s); })},
        {"packet codec without the maps", [&] { Use(ReadOwn(packet.Bytes())); }},
        {"msgpack-c without the maps", [&] { Use(messagePack.Read()); }},
    };
    RunRounds(unpacking);
    Print("Unpacking 100,000 variables into new maps", unpacking, 1e-3, "ms");
}

} // namespace
} // namespace zq::bench

int main() { zq::bench::Compare(); }
