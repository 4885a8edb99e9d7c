#include "variables/VariableStore.h"

#include "variables/BatchWrite.h"
#include "variables/PackMaps.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <utility>

namespace zq {

namespace {

template <class Value>
bool GetScalar(const std::optional<Value>& held, Value* value) {
    if (held) {
        *value = *held;
    }
    return held.has_value();
}

// The one rule of all setters that compare.
template <class Value, class Given>
bool SetCompared(VariableMap<Value>& map, std::wstring_view name, Given given) {
    const uint32_t hash = HashName(name);
    auto* node = map.FindForWrite(name, hash);
    if (!node) {
        map.Add(name, hash, nullptr, given);
    } else if (node->value == given) {
        return false;
    } else {
        map.Assign(node, given);
    }
    return true;
}

} // namespace

void VariableStore::Apply(const VariableBatch& batch) {
    BatchWrite write(batch);
    MutexLock lock(m_mutex);
    write.ApplyTo(m_maps);
}

void VariableStore::Apply(VariableBatch&& batch) {
    BatchWrite write(std::move(batch));
    MutexLock lock(m_mutex);
    write.ApplyTo(m_maps);
}

void VariableStore::ReserveFor(std::span<const std::byte> packet) {
    constexpr size_t kWorthCounting = 16384;
    if (packet.size() >= kWorthCounting) {
        const PacketCounts counts = CountPacketRecords(packet);
        MutexLock lock(m_mutex);
        m_maps.Reserve(counts);
    }
}

void VariableStore::RemoveAll() {
    MutexLock lock(m_mutex);
    m_maps.RemoveAll();
}

void VariableStore::RemoveBinaries() {
    MutexLock lock(m_mutex);
    m_maps.RemoveBinaries();
}

bool VariableStore::GetBool(std::wstring_view name, uint8_t* value) const {
    MutexLock lock(m_mutex);
    const auto* node = m_maps.bools.Find(name, HashName(name));
    return GetScalar(node ? std::optional(node->value) : std::nullopt, value);
}

bool VariableStore::GetInt64(std::wstring_view name, int64_t* value) const {
    MutexLock lock(m_mutex);
    return GetScalar(m_maps.Integers().Find(name, HashName(name)), value);
}

bool VariableStore::GetDouble(std::wstring_view name, double* value) const {
    MutexLock lock(m_mutex);
    return GetScalar(m_maps.Doubles().Find(name, HashName(name)), value);
}

bool VariableStore::GetString(std::wstring_view name, wchar_t* buffer, int32_t bufferSize) const {
    MutexLock lock(m_mutex);
    const auto* node = m_maps.strings.Find(name, HashName(name));
    const std::wstring_view text = node ? node->value.View() : std::wstring_view();
    if (!node || bufferSize < 0 || static_cast<size_t>(bufferSize) <= text.size()) {
        return false;
    }
    wchar_t* end = std::copy(text.begin(), text.end(), buffer);
    std::fill(end, buffer + bufferSize, L'\0');
    return true;
}

bool VariableStore::GetBinary(std::wstring_view name, void* buffer, size_t bufferSize, size_t* length) const {
    MutexLock lock(m_mutex);
    const auto* node = m_maps.binaries.Find(name, HashName(name));
    if (!node) {
        return false;
    }
    const BinaryBlock& block = *node->value;
    *length = block.size;
    if (!buffer || block.size > bufferSize) {
        return false;
    }
    if (block.size != 0) {
        std::memcpy(buffer, block.Bytes(), block.size);
    }
    return true;
}

bool VariableStore::SetBool(std::wstring_view name, uint8_t value) {
    MutexLock lock(m_mutex);
    return SetCompared(m_maps.bools, name, value);
}

bool VariableStore::SetInt64(std::wstring_view name, int64_t value) {
    MutexLock lock(m_mutex);
    return m_maps.numbers.Set(name, HashName(name), value);
}

bool VariableStore::SetDouble(std::wstring_view name, double value) {
    MutexLock lock(m_mutex);
    return m_maps.numbers.Set(name, HashName(name), value);
}

bool VariableStore::SetString(std::wstring_view name, std::wstring_view value) {
    MutexLock lock(m_mutex);
    return SetCompared(m_maps.strings, name, value);
}

bool VariableStore::AddEmptyString(std::wstring_view name) {
    MutexLock lock(m_mutex);
    return m_maps.strings.FindOrAdd(name, HashName(name)).second;
}

bool VariableStore::SetBinary(std::wstring_view name, const void* bytes, size_t length) {
    const auto free = [](BinaryBlock* block) { BinaryBlock::Free(block); };
    std::unique_ptr<BinaryBlock, decltype(free)> block(BinaryBlock::Make(bytes, length), free);
    MutexLock lock(m_mutex);
    auto* node = m_maps.binaries.FindOrAdd(name, HashName(name)).first;
    BinaryBlock::Free(std::exchange(node->value, block.release()));
    return true;
}

bool VariableStore::RemoveBinary(std::wstring_view name) {
    MutexLock lock(m_mutex);
    const uint32_t hash = HashName(name);
    const auto* node = m_maps.binaries.Find(name, hash);
    if (!node) {
        return false;
    }
    BinaryBlock::Free(node->value);
    return m_maps.binaries.Remove(name, hash);
}

PacketWriter VariableStore::PackAll() const {
    MutexLock lock(m_mutex);
    return PackMaps(m_maps);
}

} // namespace zq
