// Waiting for Ctrl+C, Ctrl+Break or the closing of the console. One at a time in a program.
#pragma once

#include <string>

namespace zq::tool {

class StopRequest {
public:
    // From here on Ctrl+C no longer ends the program by itself.
    StopRequest();
    ~StopRequest();
    StopRequest(const StopRequest&) = delete;
    StopRequest& operator=(const StopRequest&) = delete;

    // Waits for a request, for the event `other`, which may be null, or for the time. Returns whether the end
    // was requested.
    bool Wait(void* other, unsigned milliseconds) const;

    // "Ctrl+C" or "closed", once requested.
    static std::string Reason();
};

} // namespace zq::tool
