#include "serve/SendQueue.h"

#include <utility>

namespace zq::tool {

void SendQueue::AddBroadcast(uint64_t sequence, const WebText& message) {
    if (m_isBehind || sequence <= m_sequence) {
        return;
    }
    if (m_broadcastBytes + message->size() > m_limits.broadcastBytes && m_broadcastBytes > 0) {
        FallBehind();
        return;
    }
    Add(message, true);
}

void SendQueue::AddState(uint64_t sequence, const WebText& message) {
    m_isBehind = false;
    m_sequence = sequence;
    Add(message, true);
}

bool SendQueue::AddAnswer(const WebText& message) {
    if (m_answerBytes + message->size() > m_limits.answerBytes && m_answerBytes > 0) {
        return false;
    }
    Add(message, false);
    return true;
}

WebText SendQueue::Next() {
    if (m_isWriting || m_queue.empty()) {
        return nullptr;
    }
    m_isWriting = true;
    return m_queue.front().text;
}

void SendQueue::OnWritten() {
    if (!std::exchange(m_isWriting, false)) {
        return; // cleared meanwhile
    }
    BytesOf(m_queue.front()) -= m_queue.front().text->size();
    m_queue.pop_front();
}

bool SendQueue::TakeStateWanted() { return m_queue.empty() && std::exchange(m_isStateWanted, false); }

void SendQueue::Clear() {
    m_queue.clear();
    m_broadcastBytes = 0;
    m_answerBytes = 0;
    m_isWriting = false;
}

void SendQueue::Add(const WebText& message, bool isBroadcast) {
    m_queue.push_back({message, isBroadcast});
    BytesOf(m_queue.back()) += message->size();
}

// What is being written stays in front; the rest of what everybody is sent goes.
void SendQueue::FallBehind() {
    m_isBehind = true;
    m_isStateWanted = true;
    for (size_t i = m_queue.size(); i-- > (m_isWriting ? 1 : 0);) {
        if (m_queue[i].isBroadcast) {
            m_broadcastBytes -= m_queue[i].text->size();
            m_queue.erase(m_queue.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
}

} // namespace zq::tool
