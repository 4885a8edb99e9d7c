// The typed variables of the settings module: reading, writing, packing into bytes, and hearing of changes.
//
// A variable is a name and a value of one of five types (VariableType). Names are zero-terminated UTF-16 and
// compared exactly, letter case included. Each type has names of its own: "A" as bool and "A" as integer are
// two variables, and no operation converts between them. A whole number from a file is readable as integer
// and as double.
//
// Threads: every operation may be called from any thread at any time between CreateSettings and the object's
// end, callbacks included. Each takes the store's lock for its own look-up or change and calls nobody while
// it holds it.
//
// Trouble: a null name raises std::invalid_argument, and nothing is changed then. Running out of memory
// raises std::bad_alloc: a variable has its old value or its new one, and some hosts may not have been told.
// No lock stays behind. These are exceptions of the module's own compiler and run-time library: a host built
// with another one cannot catch them by type and should not provoke them.
//
// `source` is the host on whose behalf a change is made, as given to RegisterHost, or null: that host is not
// told. `force` other than 0 tells the other hosts even when the value is the one already held.
//
// The interface's own bodies do nothing and return 0 or null.
#pragma once

#include "CZQVariableHost.h"
#include "ZQAbi.h"

class CZQVariable {
    // Slot 0. Destroys the whole module object; see CZQModSettings for what must be called before. Where
    // _MSC_VER is defined it is `delete`, elsewhere ZQDestroy(CZQModSettings.h) or
    // ScalarDeletingDestructor(1).
    ZQ_DESTRUCTOR_SLOT(CZQVariable)

    // Slot 1. Registers `host` for notices of changes, delivered on a thread of its own. Nothing is sent for
    // variables that already exist. A host that is registered already stays registered once. The host is not
    // owned. Raises std::system_error when the system has no mutex to give; without an event or a thread to
    // be had the host is registered and hears nothing.
    virtual void RegisterHost(CZQVariableHost* host) { (void)host; }

    // Slot 2. Ends the notices to `host` and waits for a callback that is under way, one second at the most;
    // then the callback's thread is terminated. Once this has returned the module does not touch the host
    // again. Undelivered notices are dropped. An unknown host changes nothing. Not to be called from that
    // host's own callbacks.
    virtual void UnregisterHost(CZQVariableHost* host) { (void)host; }

    // Slot 3. Not used.
    virtual void Reserved() {}

    // Slot 4. Removes every variable of every type. No host is told.
    virtual void RemoveAllVariables() {}

    // A packet is 8 bytes of header and records without padding, all numbers little-endian:
    //   0  3 bytes  magic: BF FE EB
    //   3  1 byte   version: 1 when written, not looked at when read
    //   4  u32      encoding of names and string values: 0 UTF-16 (as written), 65001 UTF-8
    // and for each variable:
    //   0  u32      VariableType
    //   4  u32      length of the name in bytes, 1 or more
    //   8  u32      length of the value in bytes
    //  12           the name, not terminated, then the value: bool 1 byte, integer and double 8, string its
    //               characters, not terminated, binary its bytes
    // Both functions below return it in memory of the process heap; the host owns it and frees it with
    // ZQFreePacket (ZQPacketMemory.h). docs/variable-packet.md tells the rest.

    // Slot 5. Frames one value as a packet, without looking at the variables.
    //
    // type        any code; not checked
    // value       `length` bytes as they shall stand in the packet; may be null when length is 0
    // packetSize  receives the packet's size in bytes
    //
    // Returns a packet that the caller owns and frees with ZQFreePacket (ZQPacketMemory.h).
    virtual void* PackVariable(const wchar_t* name, uint32_t type, const void* value, size_t length,
                               size_t* packetSize) {
        (void)name, (void)type, (void)value, (void)length, (void)packetSize;
        return nullptr;
    }

    // Slot 6. Packs every variable. The result is owned as that of PackVariable; without variables it is the
    // 8 bytes of the header.
    virtual void* PackAllVariables(size_t* packetSize) {
        (void)packetSize;
        return nullptr;
    }

    // Slot 7. Sets every variable that the packet holds, as if by the setters below with `force` 0: hosts
    // other than `source` hear of values that changed, and of every binary one.
    //
    // Returns 0 when the packet is shorter than its header or does not start with the three magic bytes,
    // else 1. A damaged record ends the reading silently: the records before it are set, the result is
    // still 1.
    virtual int32_t UnpackVariables(const void* packet, size_t packetSize, CZQVariableHost* source) {
        (void)packet, (void)packetSize, (void)source;
        return 0;
    }

    // Slot 8. Sets a binary variable to a copy of `length` bytes; the hosts are told even if the bytes are
    // the same. A null `bytes` deletes the variable: the hosts are told if there was one, or if `force` is
    // set. A length of 0 with other than null sets an empty one.
    virtual void SetVariableBinary(const wchar_t* name, size_t length, const void* bytes,
                                   CZQVariableHost* source, int32_t force) {
        (void)name, (void)length, (void)bytes, (void)source, (void)force;
    }

    // Slot 9. -0.0 equals 0.0; a NaN, held or given, always counts as a change.
    virtual void SetVariableDouble(const wchar_t* name, double value, CZQVariableHost* source,
                                   int32_t force) {
        (void)name, (void)value, (void)source, (void)force;
    }

    // Slot 10. The byte is kept as given.
    virtual void SetVariableBool(const wchar_t* name, ZQBool value, CZQVariableHost* source, int32_t force) {
        (void)name, (void)value, (void)source, (void)force;
    }

    // Slot 11.
    virtual void SetVariableInt64(const wchar_t* name, int64_t value, CZQVariableHost* source,
                                  int32_t force) {
        (void)name, (void)value, (void)source, (void)force;
    }

    // Slot 12. `value` is zero-terminated and copied. Null sets a new variable to the empty string, and
    // raises std::invalid_argument for one that exists.
    virtual void SetVariableString(const wchar_t* name, const wchar_t* value, CZQVariableHost* source,
                                   int32_t force) {
        (void)name, (void)value, (void)source, (void)force;
    }

    // Slot 13. Copies the bytes of a binary variable.
    //
    // buffer      may be null, to ask for the length
    // bufferSize  in bytes
    // length      receives the variable's length whenever the variable exists, else stays as it is
    //
    // Returns 1 when the bytes were copied, else 0.
    virtual int32_t GetVariableBinary(const wchar_t* name, void* buffer, size_t bufferSize, size_t* length) {
        (void)name, (void)buffer, (void)bufferSize, (void)length;
        return 0;
    }

    // Slot 14. Returns 1 and fills `value` when the variable exists, else 0 and leaves it as it is.
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

    // Slot 17. Copies a string and its terminator; the rest of the buffer is filled with zeros.
    //
    // bufferSize  in characters, terminator included
    //
    // Returns 1 when the text was copied; 0, and the buffer stays as it is, when there is no such variable or
    // it does not fit.
    virtual int32_t GetVariableString(const wchar_t* name, wchar_t* buffer, int32_t bufferSize) {
        (void)name, (void)buffer, (void)bufferSize;
        return 0;
    }
};
