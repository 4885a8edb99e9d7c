// A request to abandon a long operation, which polls for it while it runs.
//
// Portable. An abandoned operation leaves no trace: Cancelled is raised only where memory may run out as
// well, and is handled in the same way.
#pragma once

namespace zq {

class Cancellation {
public:
    // Called on the working thread, often.
    virtual bool IsRequested() const = 0;

protected:
    ~Cancellation() = default;
};

// Raised when a request is seen.
struct Cancelled {};

// `cancellation` may be null.
inline void RaiseIfCancelled(const Cancellation* cancellation) {
    if (cancellation && cancellation->IsRequested()) {
        throw Cancelled();
    }
}

} // namespace zq
