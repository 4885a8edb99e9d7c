// Packing and unpacking mixed variables, beside MessagePack and cereal with the same maps at both ends, and
// MessagePack with the maps of the standard library.
#include "Rounds.h"

#include "CZQVariable.h"
#include "platform/Mutex.h"
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
#include <unordered_map>

namespace zq::bench {
namespace {

// Sets one variable in maps that only the benchmark uses; the same code for all competitors.
class Sink {
public:
    ~Sink() { maps.RemoveBinaries(); }

    void Bool(std::wstring_view name, uint8_t value) { Set(maps.bools, name, value); }
    void Int64(std::wstring_view name, int64_t value) { maps.numbers.Set(name, HashName(name), value); }
    void Double(std::wstring_view name, double value) { maps.numbers.Set(name, HashName(name), value); }
    void String(std::wstring_view name, std::wstring_view value) { Set(maps.strings, name, value); }
    void Binary(std::wstring_view name, const void* bytes, size_t length) {
        BinaryBlock*& block = maps.binaries.FindOrAdd(name, HashName(name)).first->value;
        BinaryBlock::Free(block);
        block = BinaryBlock::Make(bytes, length);
    }

    size_t Size() const {
        return maps.bools.Size() + maps.Integers().Size() + maps.Doubles().Size() + maps.strings.Size() +
               maps.binaries.Size();
    }

    VariableMaps maps;

private:
    template <class Value, class Given>
    void Set(VariableMap<Value>& map, std::wstring_view name, const Given& value) {
        const uint32_t hash = HashName(name);
        if (auto* node = map.Find(name, hash)) {
            map.Assign(node, value);
        } else {
            map.Add(name, hash, nullptr, value);
        }
    }
};

template <class Number>
Number NumberOf(std::span<const std::byte> bytes) {
    Number number;
    std::memcpy(&number, bytes.data(), sizeof(number));
    return number;
}

void UnpackOwn(std::span<const std::byte> packet, Sink& sink) {
    sink.maps.Reserve(CountPacketRecords(packet));
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
    maps.Integers().ForEach(count);
    maps.Doubles().ForEach(count);
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
        from.maps.Integers().ForEach([&](auto name, int64_t value) { start(2, name), packer.pack(value); });
        from.maps.Doubles().ForEach([&](auto name, double value) { start(3, name), packer.pack(value); });
        from.maps.strings.ForEach([&](auto name, std::wstring_view value) {
            start(4, name), PackBytes(packer, value.data(), value.size() * sizeof(wchar_t));
        });
        from.maps.binaries.ForEach([&](auto name, const BinaryBlock* block) {
            start(5, name), PackBytes(packer, block->Bytes(), block->size);
        });
    }

    template <class Plain>
    void PackPlain(const Plain& from) {
        m_buffer = msgpack::sbuffer();
        msgpack::packer<msgpack::sbuffer> packer(m_buffer);
        packer.pack_array(static_cast<uint32_t>(3 * from.Size()));
        const auto packAll = [&](uint32_t type, const auto& map, auto packValue) {
            for (const auto& [name, value] : map) {
                packer.pack(type);
                PackBytes(packer, name.data(), name.size() * sizeof(wchar_t));
                packValue(value);
            }
        };
        const auto packScalar = [&](auto value) { packer.pack(value); };
        packAll(1, from.bools, packScalar);
        packAll(2, from.integers, packScalar);
        packAll(3, from.doubles, packScalar);
        packAll(4, from.strings, [&](const std::wstring& value) {
            PackBytes(packer, value.data(), value.size() * sizeof(wchar_t));
        });
        packAll(5, from.binaries, [&](const auto& value) { PackBytes(packer, value.data(), value.size()); });
    }

    template <class AnySink>
    void Unpack(AnySink& sink) const {
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

    template <class AnySink>
    static void Set(AnySink& sink, uint32_t type, std::wstring_view name, const msgpack::object& value) {
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
            sink.String(name, WideOf(value.via.bin.ptr, value.via.bin.size));
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
        from.maps.Integers().ForEach([&](auto name, int64_t value) { start(2, name), archive(value); });
        from.maps.Doubles().ForEach([&](auto name, double value) { start(3, name), archive(value); });
        from.maps.strings.ForEach([&](auto name, std::wstring_view value) {
            start(4, name), PackText(archive, value.data(), value.size());
        });
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

// Calls apply(batch) and setBinary(name, bytes, length): store and sink are filled alike.
template <class Apply, class SetBinary>
void Fill(size_t count, Apply apply, SetBinary setBinary) {
    VariableBatch batch;
    std::vector<std::wstring> texts(count);
    for (size_t i = 0; i < count; ++i) {
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
            setBinary(name, name.data(), i % 60);
        }
    }
    apply(batch);
}

// The maps that a host without the module would have.
struct PlainSink {
    void Bool(std::wstring_view name, uint8_t value) { bools[std::wstring(name)] = value; }
    void Int64(std::wstring_view name, int64_t value) { integers[std::wstring(name)] = value; }
    void Double(std::wstring_view name, double value) { doubles[std::wstring(name)] = value; }
    void String(std::wstring_view name, std::wstring_view value) { strings[std::wstring(name)] = value; }
    void Binary(std::wstring_view name, const void* bytes, size_t length) {
        const auto* first = static_cast<const char*>(bytes);
        binaries[std::wstring(name)].assign(first, first + length);
    }
    size_t Size() const {
        return bools.size() + integers.size() + doubles.size() + strings.size() + binaries.size();
    }

    std::unordered_map<std::wstring, uint8_t> bools;
    std::unordered_map<std::wstring, int64_t> integers;
    std::unordered_map<std::wstring, double> doubles;
    std::unordered_map<std::wstring, std::wstring> strings;
    std::unordered_map<std::wstring, std::vector<char>> binaries;
};

template <class AnySink>
void Check(const char* who, const AnySink& sink, size_t count) {
    if (sink.Size() != count) {
        std::printf("%s unpacked %zu variables instead of %zu\n", who, sink.Size(), count);
        std::exit(1);
    }
}

void Compare(size_t count, int runs) {
    const Mutex mutex;
    VariableStore store(mutex);
    Fill(
        count, [&](const VariableBatch& batch) { store.Apply(batch); },
        [&](const std::wstring& name, const void* bytes, size_t length) {
            store.SetBinary(name, bytes, length);
        });
    const PacketWriter packet = store.PackAll();
    Sink source;
    Fill(
        count, [&](const VariableBatch& batch) { source.maps.Apply(batch); },
        [&](const std::wstring& name, const void* bytes, size_t length) {
            source.Binary(name, bytes, length);
        });
    PlainSink plain;
    {
        MessagePack messages;
        messages.Pack(source);
        messages.Unpack(plain);
        Check("msgpack-c", plain, count);
    }
    MessagePack messagePack;
    Cereal cereal;

    std::vector<Competitor> packing = {
        {"PackAllVariables", [&] { Use(store.PackAll().Size()); }},
        {"msgpack-c", [&] { messagePack.Pack(source); }},
        {"msgpack-c, std::unordered_map", [&] { messagePack.PackPlain(plain); }},
        {"cereal", [&] { cereal.Pack(source); }},
        {"floor: a copy of the packet",
         [&] {
             auto copy = std::make_unique_for_overwrite<std::byte[]>(packet.Size());
             std::memcpy(copy.get(), packet.Bytes().data(), packet.Size());
             Use(copy);
         }},
        {"floor: a bare mutex pair", [&] { MutexLock lock(mutex); }},
        {"floor: every name of the maps", [&] { Use(CountNames(source.maps)); }},
    };
    const auto size = static_cast<double>(count);
    const std::string title = std::to_string(count) + " variables";
    RunRounds(packing, runs);
    Print("Packing " + title, packing, 1e-3, "ms");
    Record("pack", size, packing, 1e-6);

    // The everyday case: every variable exists, with the same value.
    Sink full;
    UnpackOwn(packet.Bytes(), full);
    PlainSink fullPlain;
    messagePack.Unpack(fullPlain);
    std::vector<Competitor> updating = {
        {"packet codec and maps", [&] { UnpackOwn(packet.Bytes(), full); }},
        {"msgpack-c", [&] { messagePack.Unpack(full); }},
        {"msgpack-c, std::unordered_map", [&] { messagePack.Unpack(fullPlain); }},
        {"cereal", [&] { cereal.Unpack(full); }},
    };
    RunRounds(updating, runs);
    Print("Unpacking " + title + " onto those that exist", updating, 1e-3, "ms");
    Record("unpack-held", size, updating, 1e-6);

    const auto unpackInto = [count](const char* who, auto unpack) {
        return [who, unpack, count] {
            Sink sink;
            unpack(sink);
            Check(who, sink, count);
        };
    };
    std::vector<Competitor> unpacking = {
        {"packet codec and maps", unpackInto("the packet", [&](Sink& s) { UnpackOwn(packet.Bytes(), s); })},
        {"msgpack-c", unpackInto("msgpack-c", [&](Sink& s) { messagePack.Unpack(s); })},
        {"msgpack-c, std::unordered_map",
         [&] {
             PlainSink sink;
             messagePack.Unpack(sink);
             Check("msgpack-c", sink, count);
         }},
        {"cereal", unpackInto("cereal", [&](Sink& s) { cereal.Unpack(s); })},
        {"packet codec without the maps", [&] { Use(ReadOwn(packet.Bytes())); }},
        {"msgpack-c without the maps", [&] { Use(messagePack.Read()); }},
    };
    RunRounds(unpacking, runs);
    Print("Unpacking " + title + " into new maps", unpacking, 1e-3, "ms");
    Record("unpack", size, unpacking, 1e-6);
}

} // namespace
} // namespace zq::bench

int main() {
    zq::bench::Compare(1000, 100);
    zq::bench::Compare(10'000, 10);
    zq::bench::Compare(100'000, 1);
}
