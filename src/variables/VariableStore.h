// The variables of one module object: the maps, each operation under the mutex that guards them.
//
// Any thread may call. Nothing here notifies a host of a change. Memory that runs out raises std::bad_alloc:
// nothing has changed then, and the mutex is free.
#pragma once

#include "platform/Mutex.h"
#include "variables/VariableMaps.h"
#include "variables/VariablePacket.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace zq {

class VariableBatch;

class VariableStore {
public:
    // The mutex must outlive the store.
    explicit VariableStore(const Mutex& mutex) : m_mutex(mutex) {}

    // Writes a batch in one piece: nobody sees half of it. One that is given away is freed meanwhile.
    void Apply(const VariableBatch& batch);
    void Apply(VariableBatch&& batch);

    void RemoveAll();
    void RemoveBinaries();

    // Makes room for the variables of a packet that is about to be written, where there are many of them: the
    // tables then grow once. Nothing else changes.
    void ReserveFor(std::span<const std::byte> packet);

    // The getters return false, and leave the outputs as they are, when there is no such variable.
    bool GetBool(std::wstring_view name, uint8_t* value) const;
    bool GetInt64(std::wstring_view name, int64_t* value) const;
    bool GetDouble(std::wstring_view name, double* value) const;
    // Fills the whole buffer: the text, then zeros. False also when text and terminator do not fit.
    bool GetString(std::wstring_view name, wchar_t* buffer, int32_t bufferSize) const;
    // Sets `length` whenever the variable exists. False also when `buffer` is null or too small.
    bool GetBinary(std::wstring_view name, void* buffer, size_t bufferSize, size_t* length) const;

    // The setters return whether the variable is new or its value another one than before.
    bool SetBool(std::wstring_view name, uint8_t value);
    bool SetInt64(std::wstring_view name, int64_t value);
    // -0.0 equals 0.0; a NaN on either side is another value.
    bool SetDouble(std::wstring_view name, double value);
    bool SetString(std::wstring_view name, std::wstring_view value);
    // Sets a new variable to the empty string. Returns false, and changes nothing, for one that exists.
    bool AddEmptyString(std::wstring_view name);
    // Contents are not compared: always true. `bytes` is not null.
    bool SetBinary(std::wstring_view name, const void* bytes, size_t length);
    // Returns whether there was such a variable.
    bool RemoveBinary(std::wstring_view name);

    // Every variable: bools, integers, doubles, strings, binaries.
    PacketWriter PackAll() const;

private:
    const Mutex& m_mutex;
    VariableMaps m_maps ZQ_GUARDED_BY(m_mutex);
};

} // namespace zq
