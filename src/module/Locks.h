// Every mutex of one module object, and how they may be taken together.
//
// - lifecycle: DoStart and DoStop exclude each other. Held while DoStop waits for the watcher's thread.
// - hostList: the list of registered hosts. Held for one change of the list, or while a change is queued.
// - store: the maps of variables. Held for one look-up, one change or one batch.
// - files, three: the bytes of one private file on disk. Held for one read, one replacement or one
//   read-change-write.
// - queue: one host's queue of changes, in its agent. Held for one append, or to take everything.
//
// They are locked in the order of this list. In normal operation two are held together in only one case:
// hostList, then a queue. No mutex is held while the host is called, except lifecycle by DoStop, which waits
// for the watcher's thread and so for the host's callbacks.
//
// A thread that does not stop in time is terminated while its guards are held, locked in the same order:
// hostList, store, the three files, and for a delivery thread its queue. So it owns none of them when it
// dies. There is no deadlock, since no thread waits for a mutex of this list while holding a later one. A
// mutex whose owner was terminated all the same (a thread that stops itself) passes to the next thread that
// locks it.
#pragma once

#include "config/ConfigFile.h"
#include "platform/Mutex.h"

#include <array>
#include <span>

namespace zq {

class Locks {
public:
    // The mutexes that a thread of the module may hold at any time, in locking order.
    std::span<const Mutex* const> TerminationGuards() const { return m_guards; }

    const Mutex& OfFile(ConfigFile file) const { return files[static_cast<size_t>(file)]; }

    Mutex lifecycle;
    Mutex hostList;
    Mutex store;
    std::array<Mutex, kConfigFiles.size()> files;

private:
    static_assert(kConfigFiles.size() == 3, "m_guards has the mutex of each file");
    std::array<const Mutex*, 5> m_guards{&hostList, &store, &files[0], &files[1], &files[2]};
};

} // namespace zq
