// The slots of CZQVariable: each checks its name, reads or changes the store, and notifies the hosts after
// releasing the lock.
//
// A host built with another compiler can survive an exception from here only if no object between the throw
// and the host needs cleaning up. So names are checked before anything is constructed, and RaiseCleanly
// throws again when memory has run out.
#include "module/CZQModSettingsImpl.h"

#include "variables/VariablePacket.h"

#include <cstring>
#include <new>
#include <span>
#include <stdexcept>

namespace zq {

namespace {

std::wstring_view CheckedName(const wchar_t* name) {
    if (!name) {
        throw std::invalid_argument("the name of a variable is null");
    }
    return name;
}

// Runs `work`. If memory runs out in it, throws std::bad_alloc again from here, where nothing has to be
// cleaned up.
template <class Work>
auto RaiseCleanly(Work work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
    }
    throw std::bad_alloc();
}

template <class Number>
Number NumberOf(std::span<const std::byte> value) {
    Number number;
    std::memcpy(&number, value.data(), sizeof(number));
    return number;
}

std::byte* HandOver(PacketWriter packet, size_t* packetSize) {
    *packetSize = packet.Size();
    return packet.Release();
}

} // namespace

void CZQModSettingsImpl::RegisterHost(CZQVariableHost* host) {
    RaiseCleanly([&] { m_hosts.RegisterHost(host); });
}

void CZQModSettingsImpl::UnregisterHost(CZQVariableHost* host) {
    RaiseCleanly([&] { m_hosts.UnregisterHost(host); });
}

void CZQModSettingsImpl::RemoveAllVariables() { m_store.RemoveAll(); }

void* CZQModSettingsImpl::PackVariable(const wchar_t* name, uint32_t type, const void* value, size_t length,
                                       size_t* packetSize) {
    const std::wstring_view checked = CheckedName(name);
    return RaiseCleanly([&] {
        PacketWriter packet;
        packet.Append(type, checked, {static_cast<const std::byte*>(value), length});
        return HandOver(std::move(packet), packetSize);
    });
}

void* CZQModSettingsImpl::PackAllVariables(size_t* packetSize) {
    return RaiseCleanly([&] { return HandOver(m_store.PackAll(), packetSize); });
}

int32_t CZQModSettingsImpl::UnpackVariables(const void* packet, size_t packetSize, CZQVariableHost* source) {
    return RaiseCleanly([&] {
        const std::span<const std::byte> bytes(static_cast<const std::byte*>(packet),
                                               packet ? packetSize : 0);
        PacketReader reader(bytes);
        if (!reader.IsPacket()) {
            return 0;
        }
        m_store.ReserveFor(bytes);
        PacketRecord record;
        while (reader.Next(record)) {
            UnpackRecord(reader, record, source);
        }
        return 1;
    });
}

// A record of an unknown type, or too short for its type, is skipped.
void CZQModSettingsImpl::UnpackRecord(PacketReader& reader, const PacketRecord& record,
                                      CZQVariableHost* source) {
    const std::span<const std::byte> value = record.value;
    bool isChanged = false;
    switch (record.type) {
    case VariableTypeBool:
        isChanged = !value.empty() && m_store.SetBool(record.name, NumberOf<uint8_t>(value));
        break;
    case VariableTypeInt64:
        isChanged =
            value.size() >= sizeof(int64_t) && m_store.SetInt64(record.name, NumberOf<int64_t>(value));
        break;
    case VariableTypeDouble:
        isChanged = value.size() >= sizeof(double) && m_store.SetDouble(record.name, NumberOf<double>(value));
        break;
    case VariableTypeString:
        isChanged = m_store.SetString(record.name, reader.Decode(value));
        break;
    case VariableTypeBinary:
        isChanged = m_store.SetBinary(record.name, value.data(), value.size());
        break;
    default:
        break;
    }
    if (isChanged) {
        m_hosts.NotifyHosts(record.name, record.type, source);
    }
}

// What all setters do: change the value under the store's lock, then notify the hosts without it.
template <class Set>
void CZQModSettingsImpl::SetAndNotify(const wchar_t* name, uint32_t type, CZQVariableHost* source,
                                      int32_t force, Set set) {
    const std::wstring_view checked = CheckedName(name);
    RaiseCleanly([&] {
        if (set(checked) || force != 0) {
            m_hosts.NotifyHosts(checked, type, source);
        }
    });
}

void CZQModSettingsImpl::SetVariableBinary(const wchar_t* name, size_t length, const void* bytes,
                                           CZQVariableHost* source, int32_t force) {
    SetAndNotify(name, VariableTypeBinary, source, force, [&](std::wstring_view checked) {
        return bytes ? m_store.SetBinary(checked, bytes, length) : m_store.RemoveBinary(checked);
    });
}

void CZQModSettingsImpl::SetVariableDouble(const wchar_t* name, double value, CZQVariableHost* source,
                                           int32_t force) {
    SetAndNotify(name, VariableTypeDouble, source, force,
                 [&](std::wstring_view checked) { return m_store.SetDouble(checked, value); });
}

void CZQModSettingsImpl::SetVariableBool(const wchar_t* name, ZQBool value, CZQVariableHost* source,
                                         int32_t force) {
    SetAndNotify(name, VariableTypeBool, source, force,
                 [&](std::wstring_view checked) { return m_store.SetBool(checked, value); });
}

void CZQModSettingsImpl::SetVariableInt64(const wchar_t* name, int64_t value, CZQVariableHost* source,
                                          int32_t force) {
    SetAndNotify(name, VariableTypeInt64, source, force,
                 [&](std::wstring_view checked) { return m_store.SetInt64(checked, value); });
}

void CZQModSettingsImpl::SetVariableString(const wchar_t* name, const wchar_t* value, CZQVariableHost* source,
                                           int32_t force) {
    if (value) {
        SetAndNotify(name, VariableTypeString, source, force,
                     [&](std::wstring_view checked) { return m_store.SetString(checked, value); });
    } else {
        AddEmptyString(CheckedName(name), source);
    }
}

// A null value is valid only for a name that does not exist yet.
void CZQModSettingsImpl::AddEmptyString(std::wstring_view name, CZQVariableHost* source) {
    if (!RaiseCleanly([&] { return m_store.AddEmptyString(name); })) {
        throw std::invalid_argument("the value of a string variable is null");
    }
    RaiseCleanly([&] { m_hosts.NotifyHosts(name, VariableTypeString, source); });
}

int32_t CZQModSettingsImpl::GetVariableBinary(const wchar_t* name, void* buffer, size_t bufferSize,
                                              size_t* length) {
    return m_store.GetBinary(CheckedName(name), buffer, bufferSize, length);
}

int32_t CZQModSettingsImpl::GetVariableDouble(const wchar_t* name, double* value) {
    return m_store.GetDouble(CheckedName(name), value);
}

int32_t CZQModSettingsImpl::GetVariableBool(const wchar_t* name, ZQBool* value) {
    return m_store.GetBool(CheckedName(name), value);
}

int32_t CZQModSettingsImpl::GetVariableInt64(const wchar_t* name, int64_t* value) {
    return m_store.GetInt64(CheckedName(name), value);
}

int32_t CZQModSettingsImpl::GetVariableString(const wchar_t* name, wchar_t* buffer, int32_t bufferSize) {
    return m_store.GetString(CheckedName(name), buffer, bufferSize);
}

} // namespace zq
