// What waits to be sent over one connection, bounded. A connection that does not keep up loses what is queued
// for everybody, and is sent a whole state once it has read the rest; it never delays the others. A new
// connection begins in the same way.
//
// One thread.
#pragma once

#include "serve/WebText.h"

#include <cstddef>
#include <cstdint>
#include <deque>

namespace zq::tool {

class SendQueue {
public:
    struct Limits {
        size_t broadcastBytes = size_t{4} * 1024 * 1024;
        size_t answerBytes = size_t{64} * 1024 * 1024;
    };

    SendQueue() = default;
    explicit SendQueue(const Limits& limits) : m_limits(limits) {}

    // Ignored where the last state includes it or the next one will. One message is taken whatever its size.
    void AddBroadcast(uint64_t sequence, const WebText& message);
    // The state that includes every broadcast up to `sequence`.
    void AddState(uint64_t sequence, const WebText& message);
    // False where too many answers wait: the connection cannot be kept then.
    bool AddAnswer(const WebText& message);

    // The text to write now, once; null while one is being written, or where nothing waits.
    WebText Next();
    // The text of Next() has been written.
    void OnWritten();
    // Whether a new state has to be asked for now; true once.
    bool TakeStateWanted();
    void Clear();

    size_t Bytes() const { return m_broadcastBytes + m_answerBytes; }

private:
    struct Outgoing {
        WebText text;
        bool isBroadcast;
    };

    void Add(const WebText& message, bool isBroadcast);
    void FallBehind();
    size_t& BytesOf(const Outgoing& message) {
        return message.isBroadcast ? m_broadcastBytes : m_answerBytes;
    }

    const Limits m_limits{};
    std::deque<Outgoing> m_queue;
    bool m_isWriting = false; // the first one
    size_t m_broadcastBytes = 0;
    size_t m_answerBytes = 0;
    uint64_t m_sequence = 0; // of the last state
    bool m_isBehind = true;
    bool m_isStateWanted = false;
};

} // namespace zq::tool
