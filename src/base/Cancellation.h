// A request to give up what takes long, asked for again and again while it runs.
//
// Portable. IsRequested() is called from the working thread and is cheap.
#pragma once

namespace zq {

class Cancellation {
public:
    virtual ~Cancellation() = default;
    virtual bool IsRequested() const = 0;
};

} // namespace zq
