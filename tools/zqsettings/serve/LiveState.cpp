#include "serve/LiveState.h"

#include <algorithm>
#include <iterator>

namespace zq::tool {

namespace {

constexpr size_t kMostEvents = 2000;
constexpr size_t kMostKeptBytes = size_t{4} * 1024 * 1024;

} // namespace

void LiveState::Shelf::Put(Kept message) {
    m_bytes += message.text->size();
    m_messages.push_back(std::move(message));
    while (!m_messages.empty() && (m_messages.size() > kMostEvents || m_bytes > kMostKeptBytes)) {
        m_bytes -= m_messages.front().text->size();
        m_messages.pop_front();
    }
}

void LiveState::SetServer(WebServer* server) {
    const std::lock_guard lock(m_mutex);
    m_server = server;
}

void LiveState::SetRun(RunMode mode, std::vector<Variable> variables) {
    const std::lock_guard lock(m_mutex);
    m_mode = std::move(mode);
    m_variables = std::move(variables);
    ++m_sequence;
    m_state = nullptr;
    if (m_server) {
        m_server->Broadcast(m_sequence, State());
    }
}

RunMode LiveState::Mode() const {
    const std::lock_guard lock(m_mutex);
    return m_mode;
}

std::vector<Variable> LiveState::Variables() const {
    const std::lock_guard lock(m_mutex);
    return m_variables;
}

void LiveState::ChangeVariables(const std::vector<Variable>& now, const std::set<std::wstring>& names) {
    const std::lock_guard lock(m_mutex);
    std::vector<Variable> changed = WithNames(m_variables, now, names);
    const std::vector<VariableChange> changes = Difference(m_variables, changed);
    m_variables = std::move(changed);
    if (!changes.empty()) {
        Publish(ChangeMessage(changes, "module"), m_events);
    }
}

void LiveState::ReloadVariables(std::vector<Variable> now, std::optional<double> milliseconds) {
    const std::lock_guard lock(m_mutex);
    const std::vector<VariableChange> changes = Difference(m_variables, now);
    m_variables = std::move(now);
    Publish(ReloadMessage(changes, milliseconds), m_events);
}

void LiveState::UpdateFile(const DataFileState& file) {
    const std::lock_guard lock(m_mutex);
    DataFileState& known = m_files[static_cast<size_t>(file.file)];
    if (known == file) {
        return;
    }
    known = file;
    Message message("file");
    message.With("state", [&](MessageWriter& writer) { WriteFileState(writer, file); });
    Publish(message.Take(), m_events);
}

DataFileState LiveState::File(ConfigFile file) const {
    const std::lock_guard lock(m_mutex);
    return m_files[static_cast<size_t>(file)];
}

void LiveState::UpdateFolder(bool exists) {
    const std::lock_guard lock(m_mutex);
    if (m_hasFolder != exists) {
        m_hasFolder = exists;
        Publish(Message("folder").Truth("exists", exists).Take(), m_events);
    }
}

void LiveState::AddLog(int32_t level, const std::string& tag, const std::string& text) {
    const std::lock_guard lock(m_mutex);
    Publish(LogMessage(level, tag, text), m_log);
}

void LiveState::Add(std::string message) {
    const std::lock_guard lock(m_mutex);
    Publish(std::move(message), m_events);
}

void LiveState::SendState(uint64_t connection) {
    const std::lock_guard lock(m_mutex);
    if (m_server) {
        m_server->SendState(connection, m_sequence, State());
    }
}

std::string LiveState::History() const {
    const std::lock_guard lock(m_mutex);
    std::vector<Kept> all;
    std::merge(m_events.Messages().begin(), m_events.Messages().end(), m_log.Messages().begin(),
               m_log.Messages().end(), std::back_inserter(all),
               [](const Kept& a, const Kept& b) { return a.sequence < b.sequence; });
    std::string text;
    for (const Kept& kept : all) {
        text += (text.empty() ? "" : ",") + *kept.text;
    }
    return text;
}

void LiveState::Publish(std::string message, Shelf& shelf) {
    const auto text = std::make_shared<const std::string>(std::move(message));
    ++m_sequence;
    m_state = nullptr;
    shelf.Put({m_sequence, text});
    if (m_server) {
        m_server->Broadcast(m_sequence, text);
    }
}

WebText LiveState::State() {
    if (!m_state) {
        m_state = std::make_shared<const std::string>(BuildState());
    }
    return m_state;
}

std::string LiveState::BuildState() const {
    Message message("state");
    message.Text("tool", ZQ_VERSION)
        .Text("folder", m_folder)
        .Truth("folderExists", m_hasFolder)
        .Text("defaults", m_defaults)
        .Text("mode", m_mode.isLive ? "live" : "copy")
        .Truth("writable", m_mode.isWritable);
    if (!m_mode.reason.empty()) {
        message.Text("reason", m_mode.reason);
    }
    message.With("files", [&](MessageWriter& writer) {
        writer.StartArray();
        for (const ConfigFile file : kConfigFiles) {
            DataFileState state = m_files[static_cast<size_t>(file)];
            state.file = file;
            WriteFileState(writer, state);
        }
        writer.EndArray();
    });
    message.With("variables", [&](MessageWriter& writer) { WriteVariables(writer, m_variables); });
    return message.Take();
}

} // namespace zq::tool
