// What every page shows: the variables, the files, how the module is run, and what happened since the start.
// Each change is a message to all pages, in one order; a page that is new or fell behind gets the whole
// state.
//
// Any thread. One lock covers the data and the order of the messages.
#pragma once

#include "LiveMessage.h"
#include "VariableListing.h"
#include "serve/DataFiles.h"
#include "serve/web/WebServer.h"

#include <array>
#include <deque>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zq::tool {

// How the module is run on the data folder.
struct RunMode {
    bool isLive = false;     // on the folder itself, otherwise on a copy
    bool isWritable = false; // whether pages may write the files
    std::string reason;      // why on a copy, one sentence

    friend bool operator==(const RunMode&, const RunMode&) = default;
};

class LiveState {
public:
    LiveState(std::string folder, std::string defaults)
        : m_folder(std::move(folder)), m_defaults(std::move(defaults)) {}

    // Where messages go from here on; null for nowhere.
    void SetServer(WebServer* server);

    // The module was started anew: every page gets the state.
    void SetRun(RunMode mode, std::vector<Variable> variables);
    RunMode Mode() const;
    std::vector<Variable> Variables() const;

    // The variables were set one by one: takes those of these names from `now`.
    void ChangeVariables(const std::vector<Variable>& now, const std::set<std::wstring>& names);
    // The files were read again; `milliseconds` after the last write, where that is known.
    void ReloadVariables(std::vector<Variable> now, std::optional<double> milliseconds);
    void UpdateFile(const DataFileState& file);
    DataFileState File(ConfigFile file) const;
    void UpdateFolder(bool exists);
    void AddLog(int32_t level, const std::string& tag, const std::string& text);
    // A message that changes nothing of the state: a refusal, a save.
    void Add(std::string message);

    void SendState(uint64_t connection);
    // The messages kept, in their order, as the elements of a JSON array.
    std::string History() const;

private:
    struct Kept {
        uint64_t sequence;
        WebText text;
    };
    // The newest messages, bounded by number and bytes.
    class Shelf {
    public:
        void Put(Kept message);
        const std::deque<Kept>& Messages() const { return m_messages; }

    private:
        std::deque<Kept> m_messages;
        size_t m_bytes = 0;
    };

    void Publish(std::string message, Shelf& shelf);
    WebText State();
    std::string BuildState() const;

    mutable std::mutex m_mutex;
    WebServer* m_server = nullptr;
    const std::string m_folder;
    const std::string m_defaults;
    bool m_hasFolder = true;
    RunMode m_mode;
    std::vector<Variable> m_variables;
    std::array<DataFileState, kConfigFiles.size()> m_files;
    uint64_t m_sequence = 0;
    WebText m_state; // of the present, or null
    // Log lines have a shelf of their own: a load may write thousands.
    Shelf m_events;
    Shelf m_log;
};

} // namespace zq::tool
