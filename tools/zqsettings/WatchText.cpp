#include "WatchReport.h"

#include "Console.h"
#include "Text.h"
#include "TimeText.h"

#include <cstdio>

namespace zq::tool {

namespace {

// Each line of a text after the time.
std::string Timed(const std::string& text) {
    const std::string time = LocalClockText() + ' ';
    std::string timed;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        timed += time + text.substr(begin, end - begin) + '\n';
        begin = end + 1;
    }
    return timed;
}

std::string LinesOf(const std::vector<VariableChange>& changes) {
    std::string text;
    for (const VariableChange& change : changes) {
        text += "  " + ChangeText(change) + '\n';
    }
    return text;
}

std::string ReloadText(const WatchedReload& reload) {
    std::string text = "reload: " + Counted(reload.changes.size(), "variable") + " changed";
    if (reload.milliseconds) {
        char time[64];
        std::snprintf(time, sizeof(time), ", %.1f ms after the file was written", *reload.milliseconds);
        text += time;
    }
    return text + '\n';
}

class TextReport final : public WatchReport {
public:
    TextReport(bool isQuiet, bool hasColour) : m_isQuiet(isQuiet), m_hasColour(hasColour) {}

    void OnMessage(const ModuleMessage& message) override {
        if (!m_isQuiet) {
            const std::string line = LocalClockText() + ' ' + MessageText(message);
            Print(m_hasColour ? colour::kDim + line + colour::kPlain + '\n' : line + '\n');
        }
    }

    void OnBegin(const WatchBeginning& beginning) override {
        PrintUnlessQuiet("watching " + Visible(beginning.folder.native()) + "; Ctrl+C ends\n");
    }

    void OnReload(const WatchedReload& reload) override {
        PrintUnlessQuiet(ReloadText(reload) + LinesOf(reload.changes));
        PrintIfQuiet(reload.changes);
    }

    void OnChange(const std::vector<VariableChange>& changes, bool isByHost) override {
        PrintUnlessQuiet(std::string("set by ") + (isByHost ? "a component:\n" : "the module:\n") +
                         LinesOf(changes));
        PrintIfQuiet(changes);
    }

    void OnRefusal(const PrivateFile& file, const std::optional<std::filesystem::path>& keptAs,
                   bool isReplaced) override {
        const std::string shown = Visible(file.path.native());
        std::string text = file.state == PrivateFileState::Missing ? shown + ": the file does not exist\n"
                                                                   : RefusalText(file, m_hasColour);
        if (isReplaced) {
            text += shown + ": replaced by the default file";
            text += keptAs ? "; the refused file is kept as " + Visible(keptAs->native()) + '\n' : "\n";
        } else {
            text += shown + ": left as it is; a server replaces it by its default file\n";
        }
        PrintText(m_isQuiet ? stderr : stdout, Timed(text));
    }

    void OnAccept(const PrivateFile& file) override {
        PrintUnlessQuiet(Visible(file.path.native()) + ": accepted again\n");
    }

    void OnEnd(const std::string& reason, const WatchTotals& totals) override {
        PrintUnlessQuiet("ended (" + reason + "): " + Counted(totals.reloads, "reload") + ", " +
                         Counted(totals.changes, "change") + ", " + Counted(totals.notices, "notice") + '\n');
    }

private:
    void PrintUnlessQuiet(const std::string& text) const {
        if (!m_isQuiet) {
            Print(Timed(text));
        }
    }

    void PrintIfQuiet(const std::vector<VariableChange>& changes) const {
        std::string text;
        for (const VariableChange& change : changes) {
            text += ChangeText(change) + '\n';
        }
        if (m_isQuiet) {
            Print(Timed(text));
        }
    }

    const bool m_isQuiet;
    const bool m_hasColour;
};

} // namespace

std::unique_ptr<WatchReport> MakeTextReport(bool isQuiet, bool hasColour) {
    return std::make_unique<TextReport>(isQuiet, hasColour);
}

} // namespace zq::tool
