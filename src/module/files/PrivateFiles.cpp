#include "module/files/PrivateFiles.h"

#include "base/HostLog.h"
#include "module/files/KeptCopies.h"
#include "module/files/Replacement.h"
#include "platform/Clock.h"

#include <optional>

namespace zq {

namespace {

// How long DoInit waits in total before it goes on without a file that others hold.
constexpr uint64_t kHeldMilliseconds = 5000;
constexpr uint32_t kHeldPauseMilliseconds = 10;
// How long a refused file has to stay as it is. Hardly anybody edits while a server starts, and a start must
// not wait.
constexpr uint32_t kRefusedMilliseconds = 20;

// Provides the file, and waits while its default is held. If somebody else has created the file, it stays.
void ProvisionFile(const PrivateFile& file, const FilesContext& context, uint64_t deadline) {
    FileLook missing;
    missing.verdict = FileVerdict::Missing;
    for (;;) {
        const ReplacementResult result = ReplaceByDefault(file, missing);
        if (result.outcome == Replacement::Done || result.outcome == Replacement::Overtaken) {
            return;
        }
        if (result.outcome == Replacement::Failed || context.clock.Milliseconds() >= deadline) {
            RaiseReplacementError(file, result.error);
        }
        context.clock.Sleep(kHeldPauseMilliseconds);
    }
}

// Loads one file within DoInit.
class InitialLoad {
public:
    InitialLoad(PrivateFile& file, const FilesContext& context, uint64_t deadline)
        : m_file(file), m_context(context), m_deadline(deadline) {}

    void Run() {
        for (;;) {
            FileLook look = m_file.Look();
            if (look.verdict == FileVerdict::Missing ||
                (look.verdict == FileVerdict::Accepted && Load(look)) ||
                (look.verdict == FileVerdict::Refused && Repair(look))) {
                return;
            }
            if (m_context.clock.Milliseconds() >= m_deadline) {
                LoadDefaultInstead(look);
                return;
            }
            m_context.clock.Sleep(kHeldPauseMilliseconds);
        }
    }

private:
    bool Load(const FileLook& look) {
        LoadLooked(m_file, look.config, m_context);
        m_file.Record(look.config.file, m_context.clock);
        return true;
    }

    // Returns false if the file may be about to get another content: it changed, or others are writing it.
    bool Repair(const FileLook& look) {
        m_context.clock.Sleep(kRefusedMilliseconds);
        const ReplacementResult result = ReplaceByDefault(m_file, look);
        if (result.outcome == Replacement::Overtaken || result.outcome == Replacement::Held) {
            return false;
        }
        LoadLooked(m_file, look.config, m_context);
        if (result.outcome == Replacement::Failed) {
            RaiseReplacementError(m_file, result.error);
        }
        LoadReplaced(m_file, L"DoInit() copy %s again OK , exist:%d.", m_context);
        if (const std::optional<FileTime> time = LastWriteTime(m_file.Path())) {
            m_file.RecordTime(*time);
        }
        return true;
    }

    void LoadDefaultInstead(const FileLook& look) {
        LoadLooked(m_file, look.config, m_context);
        ConfigLook defaults;
        defaults.file = ReadSnapshot(m_file.DefaultPath());
        ParseLook(m_file.Kind(), defaults);
        LoadConfigFile(m_file.Kind(), m_file.DefaultPath(), defaults, {m_context.store, m_context.log});
    }

    PrivateFile& m_file;
    const FilesContext& m_context;
    uint64_t m_deadline;
};

void Provision(const PrivateFiles& files, const FilesContext& context, uint64_t deadline) {
    for (const PrivateFile& file : files) {
        if (!FileExists(file.Path())) {
            ProvisionFile(file, context, deadline);
            context.log.Log(LogNotable, L"[DoInit] copy %s OK , exist:%d .", file.Path().c_str(),
                            ExistenceResult(file.Path()));
        }
    }
}

} // namespace

void ProvisionAndLoadPrivateFiles(PrivateFiles& files, const FilesContext& context) {
    const uint64_t deadline = context.clock.Milliseconds() + kHeldMilliseconds;
    Provision(files, context, deadline);
    for (PrivateFile& file : files) {
        if (FileExists(file.Path())) {
            InitialLoad(file, context, deadline).Run();
        }
    }
}

bool LoadLooked(const PrivateFile& file, const ConfigLook& look, const FilesContext& context) {
    const bool isLoaded = LoadConfigFile(file.Kind(), file.Path(), look, {context.store, context.log});
    if (isLoaded) {
        KeepLoaded(file.Path(), look.file.bytes);
    }
    return isLoaded;
}

void LoadReplaced(const PrivateFile& file, const wchar_t* message, const FilesContext& context) {
    context.log.Log(LogNotable, message, file.Path().c_str(), ExistenceResult(file.Path()));
    LoadLooked(file, file.Look(context.cancellation).config, context);
}

} // namespace zq
