// What the interfaces of the settings module share: the layout that makes objects usable across compilers,
// and a few types.
//
// The interfaces are tables of functions as the Microsoft compiler lays them out on x64. A virtual destructor
// takes one slot there but two with other compilers, so the destructor's slot is declared by hand where
// _MSC_VER is not defined. Nothing in these headers depends on RTTI, on structures returned by value or on
// overloads.
//
// The headers need C++11 and no Windows header.
#pragma once

#include <stddef.h>
#include <stdint.h>

#if defined(_MSC_VER)
#define ZQ_DESTRUCTOR_SLOT(ClassName)                                                                        \
public:                                                                                                      \
    virtual ~ClassName() {}
#else
// `flags` with bit 0 set: destroy the object and free it. The interface's own body does neither.
#define ZQ_DESTRUCTOR_SLOT(ClassName)                                                                        \
public:                                                                                                      \
    virtual void* ScalarDeletingDestructor(unsigned int flags) {                                             \
        (void)flags;                                                                                         \
        return this;                                                                                         \
    }                                                                                                        \
                                                                                                             \
protected:                                                                                                   \
    ~ClassName() = default;                                                                                  \
                                                                                                             \
public:
#endif

// A truth value as it crosses the interfaces: one byte, 0 is false. The store keeps the byte as given, so
// this is not `bool`, which holds only 0 or 1.
using ZQBool = uint8_t;

// The type of a variable. Change notices and packets use the same codes.
enum VariableType : uint32_t {
    VariableTypeNone = 0,   // no variable
    VariableTypeBool = 1,   // one byte
    VariableTypeInt64 = 2,  // signed, 64 bits
    VariableTypeDouble = 3, // IEEE 754
    VariableTypeString = 4, // UTF-16
    VariableTypeBinary = 5  // bytes
};
