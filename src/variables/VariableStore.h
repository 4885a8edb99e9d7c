// The variables of one module object: the five maps and the mutex that guards them.
//
// Locks of the module, and what each protects:
//   host list mutex    the list of registered hosts (HostAgentList)
//   queue mutex        one host's queue of changes (HostAgent)
//   store mutex        the maps (here)
//   file mutex         one configuration file's bytes on disk, while the module itself reads or writes them
// The order is host list mutex, then a queue mutex. The store mutex is taken for one look-up, change or batch
// and held together with another one only while a stuck delivery thread is terminated (Thread::Stop). None is
// held while the host is called.
//
// Names come as the caller gave them: a null one raises std::invalid_argument. Any thread may call. Nothing
// here tells a host of a change.
#pragma once

#include "platform/Mutex.h"
#include "variables/VariableMaps.h"

#include <cstddef>
#include <cstdint>

namespace zq {

class VariableBatch;

class VariableStore {
public:
    VariableStore();

    // Writes a batch in one piece: nobody sees half of it.
    void Apply(const VariableBatch& batch);

    void RemoveAll();
    void RemoveBinaries();

    // The getters return false, and leave the outputs as they are, when there is no such variable.
    bool GetBool(const wchar_t* name, uint8_t* value) const;
    bool GetInt64(const wchar_t* name, int64_t* value) const;
    bool GetDouble(const wchar_t* name, double* value) const;
    // Fills the whole buffer: the text, then zeros. False also when text and terminator do not fit.
    bool GetString(const wchar_t* name, wchar_t* buffer, int32_t bufferSize) const;
    // Sets `length` whenever the variable exists. False also when `buffer` is null or too small.
    bool GetBinary(const wchar_t* name, void* buffer, size_t bufferSize, size_t* length) const;

    // For terminating a thread that may be inside the store.
    const Mutex& GetMutex() const { return m_mutex; }

private:
    Mutex m_mutex;
    VariableMaps m_maps;
};

} // namespace zq
