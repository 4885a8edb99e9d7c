// The typed variables of the settings module: reading, writing, packing into bytes, and notices of changes.
//
// A variable is a name and a value of one of five types (VariableType). Names are zero-terminated UTF-16 and
// compared exactly, letter case included. Each type has its own names: "A" as bool and "A" as integer are
// two variables, and no operation converts between them. A whole number in a file becomes both an integer
// and a double.
//
// Threads: any thread may call any operation, callbacks included, from CreateSettings until the object is
// destroyed. Each operation holds the store's lock for its own look-up or change only, and calls no host
// while holding it.
//
// Errors: a null name throws std::invalid_argument and changes nothing. Running out of memory throws
// std::bad_alloc: the variable then has its old or its new value, and some hosts may not be notified. No lock
// stays held. These exceptions belong to the module's own compiler and run-time library: a host built with
// other ones cannot catch them by type, nor by `catch (...)`, and must not cause them. With `__except` around
// the call it survives one.
//
// REQUIRES: pointers to outputs are not null, except the buffer of GetVariableBinary.
//
// `source` is the host on whose behalf a change is made, as given to RegisterHost, or null. That host is not
// notified. A `force` other than 0 notifies the other hosts even if the variable already has the value.
//
// The interface's own bodies do nothing and return 0 or null.
#pragma once

#include "CZQVariableHost.h"
#include "ZQAbi.h"

class CZQVariable {
    // Slot 0. Destroys the whole module object. Call it by `delete` where _MSC_VER is defined, elsewhere by
    // ZQDestroy (CZQModSettings.h) or ScalarDeletingDestructor(1).
    //
    // The caller must call CZQModSettings::DoStop and DoRelease first.
    ZQ_DESTRUCTOR_SLOT(CZQVariable)

    // Slot 1. Registers `host`, which is not owned, for notices of changes; they are delivered on a thread of
    // its own. No notices are sent for variables that already exist. Registering a host again has no effect.
    // Throws std::system_error when a mutex cannot be created. When an event or the thread cannot be created,
    // the host is registered but receives no notices.
    virtual void RegisterHost(CZQVariableHost* host) { (void)host; }

    // Slot 2. Ends the notices to `host`. Waits up to one second for a running callback, then terminates its
    // thread. The module does not use the host after this has returned. Notices that are still queued are
    // dropped. While another thread unregisters the same host, this waits for it, and so does RegisterHost;
    // other operations do not. Does nothing for a host that is not registered.
    //
    // REQUIRES: not called from a callback of the same host.
    virtual void UnregisterHost(CZQVariableHost* host) { (void)host; }

    // Slot 3. Does nothing.
    virtual void Reserved() {}

    // Slot 4. Removes every variable of every type. No host is notified.
    virtual void RemoveAllVariables() {}

    // A packet is 8 bytes of header and records without padding, all numbers little-endian:
    //   0  3 bytes  magic: BF FE EB
    //   3  1 byte   version: written as 1, ignored when read
    //   4  u32      encoding of names and string values: 0 UTF-16 (as written), 65001 UTF-8
    // and for each variable:
    //   0  u32      VariableType
    //   4  u32      length of the name in bytes, 1 or more
    //   8  u32      length of the value in bytes
    //  12           the name, not terminated, then the value: bool 1 byte, integer and double 8, string its
    //               characters, not terminated, binary its bytes
    // A variable with an empty name ends the packet for its reader.
    // Both functions below return it in memory of the process heap; the host owns it and frees it with
    // ZQFreePacket (ZQPacketMemory.h). docs/variable-packet.md is the full description.

    // Slot 5. Makes a packet of one value. The variables are neither read nor changed.
    //
    // type        any code; not checked
    // value       `length` bytes, copied into the packet as they are; may be null when length is 0
    // packetSize  receives the packet's size in bytes
    //
    // Returns a packet that the caller owns and frees with ZQFreePacket (ZQPacketMemory.h).
    virtual void* PackVariable(const wchar_t* name, uint32_t type, const void* value, size_t length,
                               size_t* packetSize) {
        (void)name, (void)type, (void)value, (void)length, (void)packetSize;
        return nullptr;
    }

    // Slot 6. Packs every variable. The caller owns the packet as that of PackVariable. Without variables it
    // is only the header's 8 bytes.
    virtual void* PackAllVariables(size_t* packetSize) {
        (void)packetSize;
        return nullptr;
    }

    // Slot 7. Sets every variable that the packet holds, as the setters below do with `force` 0: hosts other
    // than `source` are notified of values that changed, and of every binary one.
    //
    // Returns 0 when the packet is shorter than its header or does not start with the three magic bytes,
    // else 1. Reading stops at a damaged record without an error: the records before it are set, and the
    // result is 1.
    virtual int32_t UnpackVariables(const void* packet, size_t packetSize, CZQVariableHost* source) {
        (void)packet, (void)packetSize, (void)source;
        return 0;
    }

    // Slot 8. Sets a binary variable to a copy of `length` bytes, and notifies the hosts even if the bytes
    // are the same. A null `bytes` deletes the variable, and notifies the hosts if it existed or `force` is
    // not 0. A length of 0 with `bytes` not null sets an empty block.
    virtual void SetVariableBinary(const wchar_t* name, size_t length, const void* bytes,
                                   CZQVariableHost* source, int32_t force) {
        (void)name, (void)length, (void)bytes, (void)source, (void)force;
    }

    // Slot 9. -0.0 and 0.0 are the same value; a NaN, old or new, always counts as a change.
    virtual void SetVariableDouble(const wchar_t* name, double value, CZQVariableHost* source,
                                   int32_t force) {
        (void)name, (void)value, (void)source, (void)force;
    }

    // Slot 10. The byte is stored as given.
    virtual void SetVariableBool(const wchar_t* name, ZQBool value, CZQVariableHost* source, int32_t force) {
        (void)name, (void)value, (void)source, (void)force;
    }

    // Slot 11.
    virtual void SetVariableInt64(const wchar_t* name, int64_t value, CZQVariableHost* source,
                                  int32_t force) {
        (void)name, (void)value, (void)source, (void)force;
    }

    // Slot 12. `value` is zero-terminated and is copied. Null sets a new variable to the empty string, and
    // throws std::invalid_argument for one that exists.
    virtual void SetVariableString(const wchar_t* name, const wchar_t* value, CZQVariableHost* source,
                                   int32_t force) {
        (void)name, (void)value, (void)source, (void)force;
    }

    // Slot 13. Copies the bytes of a binary variable.
    //
    // buffer      may be null to query the length
    // bufferSize  in bytes
    // length      receives the variable's length if the variable exists, else is left unchanged
    //
    // Returns 1 if the bytes were copied, else 0.
    virtual int32_t GetVariableBinary(const wchar_t* name, void* buffer, size_t bufferSize, size_t* length) {
        (void)name, (void)buffer, (void)bufferSize, (void)length;
        return 0;
    }

    // Slot 14. Returns 1 and sets `*value` if the variable exists, else returns 0 and leaves it unchanged.
    virtual int32_t GetVariableDouble(const wchar_t* name, double* value) {
        (void)name, (void)value;
        return 0;
    }

    // Slot 15. As slot 14.
    virtual int32_t GetVariableBool(const wchar_t* name, ZQBool* value) {
        (void)name, (void)value;
        return 0;
    }

    // Slot 16. As slot 14.
    virtual int32_t GetVariableInt64(const wchar_t* name, int64_t* value) {
        (void)name, (void)value;
        return 0;
    }

    // Slot 17. Copies a string and its terminator, and fills the rest of the buffer with zeros.
    //
    // bufferSize  in characters, including the terminator
    //
    // Returns 1 if the string was copied. Returns 0 and leaves the buffer unchanged if the variable does not
    // exist or does not fit.
    virtual int32_t GetVariableString(const wchar_t* name, wchar_t* buffer, int32_t bufferSize) {
        (void)name, (void)buffer, (void)bufferSize;
        return 0;
    }
};
