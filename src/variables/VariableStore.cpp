#include "variables/VariableStore.h"

#include "variables/VariableBatch.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include <windows.h>

namespace zq {

namespace {

std::wstring_view CheckedName(const wchar_t* name) {
    if (!name) {
        throw std::invalid_argument("the name of a variable is null");
    }
    return name;
}

// Differs between stores and between runs; who chooses names in a file cannot know it.
uint64_t MakeSeed(const void* store) {
    LARGE_INTEGER counter{};
    QueryPerformanceCounter(&counter);
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const uint64_t time = static_cast<uint64_t>(now.dwHighDateTime) << 32U | now.dwLowDateTime;
    const uint64_t place = reinterpret_cast<uintptr_t>(store) ^ uint64_t { GetCurrentProcessId() } << 32U;
    return detail::MixMultiply(static_cast<uint64_t>(counter.QuadPart) ^ 0x9E3779B97F4A7C15ULL, time) ^
           detail::MixMultiply(place, 0xD6E8FEB86659FD93ULL);
}

template <class Value>
bool GetScalar(const VariableMaps& maps, const VariableMap<Value>& map, std::wstring_view name,
               Value* value) {
    const auto* node = map.Find(name, maps.Hash(name));
    if (node) {
        *value = node->value;
    }
    return node != nullptr;
}

} // namespace

VariableStore::VariableStore() : m_maps(MakeSeed(this)) {}

void VariableStore::Apply(const VariableBatch& batch) {
    MutexLock lock(m_mutex);
    m_maps.Apply(batch);
}

void VariableStore::RemoveAll() {
    MutexLock lock(m_mutex);
    m_maps.RemoveAll();
}

void VariableStore::RemoveBinaries() {
    MutexLock lock(m_mutex);
    m_maps.RemoveBinaries();
}

bool VariableStore::GetBool(const wchar_t* name, uint8_t* value) const {
    const std::wstring_view checked = CheckedName(name);
    MutexLock lock(m_mutex);
    return GetScalar(m_maps, m_maps.bools, checked, value);
}

bool VariableStore::GetInt64(const wchar_t* name, int64_t* value) const {
    const std::wstring_view checked = CheckedName(name);
    MutexLock lock(m_mutex);
    return GetScalar(m_maps, m_maps.integers, checked, value);
}

bool VariableStore::GetDouble(const wchar_t* name, double* value) const {
    const std::wstring_view checked = CheckedName(name);
    MutexLock lock(m_mutex);
    return GetScalar(m_maps, m_maps.doubles, checked, value);
}

bool VariableStore::GetString(const wchar_t* name, wchar_t* buffer, int32_t bufferSize) const {
    const std::wstring_view checked = CheckedName(name);
    MutexLock lock(m_mutex);
    const auto* node = m_maps.strings.Find(checked, m_maps.Hash(checked));
    if (!node || bufferSize < 0 || static_cast<size_t>(bufferSize) <= node->value.size()) {
        return false;
    }
    wchar_t* end = std::copy(node->value.begin(), node->value.end(), buffer);
    std::fill(end, buffer + bufferSize, L'\0');
    return true;
}

bool VariableStore::GetBinary(const wchar_t* name, void* buffer, size_t bufferSize, size_t* length) const {
    const std::wstring_view checked = CheckedName(name);
    MutexLock lock(m_mutex);
    const auto* node = m_maps.binaries.Find(checked, m_maps.Hash(checked));
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

} // namespace zq
