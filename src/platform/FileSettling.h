// Waiting until somebody else has finished writing a file.
//
// An editor that truncates and then writes shows an empty or half-written file for a moment; whoever reads it
// then reads damage that is not there.
#pragma once

#include <string>

namespace zq {

class Event;
class Mutex;

enum class Settling {
    Settled,
    Unsettled, // somebody was still at it when the time was over
    Stopped
};

// Waits until nobody holds the file open for writing, it is not empty, and its size and time have not changed
// for 20 milliseconds; for 500 milliseconds at the most. A missing file has settled when it stays missing, an
// empty one when it stays empty all the time. Returns at once when `stop` is signalled meanwhile.
//
// `fileMutex` is what the module holds around its own writes of the file: looking whether somebody writes
// must not keep the module itself from opening it.
Settling WaitUntilFileSettles(const std::wstring& path, const Mutex& fileMutex, const Event& stop);

} // namespace zq
