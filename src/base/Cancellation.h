// A request to give up what takes long, asked for again and again while it runs.
//
// Portable. What is given up is left as if it had never begun: Cancelled is raised from places where memory
// may run out as well, and is handled by the same means.
#pragma once

namespace zq {

class Cancellation {
public:
    // Called on the working thread, often.
    virtual bool IsRequested() const = 0;

protected:
    ~Cancellation() = default;
};

// Raised where a request is seen.
struct Cancelled {};

// `cancellation` may be null.
inline void RaiseIfCancelled(const Cancellation* cancellation) {
    if (cancellation && cancellation->IsRequested()) {
        throw Cancelled();
    }
}

} // namespace zq
