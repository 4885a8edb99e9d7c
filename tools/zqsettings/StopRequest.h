// Waiting for Ctrl+C, Ctrl+Break or the closing of the console. One at a time in a program.
#pragma once

namespace zq::tool {

class StopRequest {
public:
    // From here on Ctrl+C no longer ends the program by itself.
    StopRequest();
    ~StopRequest();
    StopRequest(const StopRequest&) = delete;
    StopRequest& operator=(const StopRequest&) = delete;

    // Returns when the user asked for the end, or, unless `seconds` is 0, after that time.
    void Wait(double seconds) const;
};

} // namespace zq::tool
