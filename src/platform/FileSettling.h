// Waiting until somebody else has finished writing a file.
//
// An editor that truncates and then writes shows an empty or half-written file for a moment; whoever reads it
// then reads damage that is not there.
#pragma once

#include <string>

namespace zq {

class Event;

enum class Settling {
    Settled,
    Unsettled, // somebody was still at it when the time was over
    Stopped
};

// Waits until nobody holds the file open for writing, it is not empty, and its size and time have not changed
// for 20 milliseconds; for 500 milliseconds at the most. A missing file has settled when it stays missing, an
// empty one when it stays empty all the time. Returns at once when `stop` is signalled meanwhile.
Settling WaitUntilFileSettles(const std::wstring& path, const Event& stop);

} // namespace zq
