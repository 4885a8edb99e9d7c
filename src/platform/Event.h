// An unnamed Win32 event, created not signalled.
#pragma once

#include "platform/Handle.h"

namespace zq {

enum class EventReset { Manual, Auto };

class Event {
public:
    explicit Event(EventReset reset)
        : m_handle(CreateEventW(nullptr, reset == EventReset::Manual ? TRUE : FALSE, FALSE, nullptr)) {}

    void Set() const { SetEvent(m_handle.get()); }
    void Reset() const { ResetEvent(m_handle.get()); }
    void Close() { m_handle.reset(); }

    // Returns whether the event was signalled within the time.
    bool Wait(DWORD milliseconds) const {
        return WaitForSingleObject(m_handle.get(), milliseconds) == WAIT_OBJECT_0;
    }

    // Null once closed, or if the system could not create the event.
    HANDLE Get() const { return m_handle.get(); }

private:
    UniqueHandle m_handle;
};

} // namespace zq
