#include "serve/Questions.h"

#include "Failure.h"
#include "LiveMessage.h"
#include "serve/Answers.h"
#include "serve/Question.h"

#include <cstring>
#include <exception>

namespace zq::tool {

namespace {

constexpr size_t kMostWaiting = 512;
constexpr size_t kNumberBytes = 4;

std::string Refused(int64_t id, const std::string& reason) {
    return Message("answer").Integer("id", id).Truth("ok", false).Text("reason", reason).Take();
}

std::string Granted(int64_t id, const std::function<void(MessageWriter&)>& result) {
    return Message("answer")
        .Integer("id", id)
        .Truth("ok", true)
        .With("result",
              [&](MessageWriter& writer) {
                  writer.StartObject();
                  result(writer);
                  writer.EndObject();
              })
        .Take();
}

} // namespace

void Questions::SetServer(WebServer* server) {
    const std::lock_guard lock(m_mutex);
    m_server = server;
}

void Questions::OnStateWanted(uint64_t connection) {
    m_quick.Add([this, connection] { m_dashboard.State().SendState(connection); });
}

void Questions::OnMessage(uint64_t connection, std::string message, bool isBinary) {
    if (isBinary) {
        const bool isTaken =
            message.size() >= kNumberBytes &&
            m_quick.Add(
                [this, connection, message] {
                    uint32_t id = 0;
                    std::memcpy(&id, message.data(), kNumberBytes);
                    Answer(connection, Granted(id, [&](MessageWriter& writer) {
                               AnswerPacket(writer, std::string_view(message).substr(kNumberBytes));
                           }));
                },
                kMostWaiting);
        if (!isTaken) {
            Answer(connection, Refused(0, "the packet has no number, or too many questions wait"));
        }
        return;
    }
    // Which thread it is for shows only when it is read: that is quick, but for a large text not quick enough
    // for the network's thread.
    if (!m_quick.Add([this, connection, message = std::move(message)] { AnswerText(connection, message); },
                     kMostWaiting)) {
        Answer(connection, Refused(0, "too many questions wait"));
    }
}

void Questions::AnswerText(uint64_t connection, const std::string& message) {
    const auto question = std::make_shared<Question>(ReadQuestion(message));
    const AnswerRow* const row = AnswerOf(question->what);
    if (!question->fault.empty() || !row) {
        Answer(connection,
               Refused(question->id, question->fault.empty() ? "there is no such question: " + question->what
                                                             : question->fault));
        return;
    }
    const auto work = [this, connection, question, row] {
        try {
            Answer(connection, Granted(question->id, [&](MessageWriter& writer) {
                       row->answer(m_dashboard, Arguments(question->document), writer);
                   }));
        } catch (const std::exception& error) {
            Answer(connection, Refused(question->id, error.what()));
        }
    };
    if (!row->isSlow) {
        work();
    } else if (!m_slow.Add(work, kMostWaiting)) {
        Answer(connection, Refused(question->id, "too many questions wait"));
    }
}

void Questions::Answer(uint64_t connection, std::string text) {
    const std::lock_guard lock(m_mutex);
    if (m_server) {
        m_server->Send(connection, std::make_shared<const std::string>(std::move(text)));
    }
}

} // namespace zq::tool
