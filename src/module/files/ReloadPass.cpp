#include "module/files/ReloadPass.h"

#include "base/HostLog.h"
#include "module/files/Replacement.h"

#include <optional>

namespace zq {

namespace {

enum class FileResult {
    Done,      // nothing to load
    Loaded,    // or repaired
    LookAgain, // it is on its way to another content
    Stopped    // the load was given up
};

// One file's part of a pass.
class FileReload {
public:
    FileReload(PrivateFile& file, const ReloadContext& context)
        : m_file(file), m_context(context), m_log(context.files.log), m_texts(file.Texts()) {}

    FileResult Run(const FileLook& look) {
        switch (look.verdict) {
        case FileVerdict::Held:
            return FileResult::LookAgain;
        case FileVerdict::Unchanged:
            m_log.Log(LogProgress, m_texts.unchanged);
            return FileResult::Done;
        case FileVerdict::NoTime:
            m_log.Log(LogFailure, m_texts.statFailed);
            return FileResult::Done;
        case FileVerdict::Missing:
            return RunMissing(look);
        case FileVerdict::Accepted:
            return Load(look.config);
        case FileVerdict::Refused:
            return Repair(look);
        }
        return FileResult::Done;
    }

private:
    static bool IsToLookAgain(const ReplacementResult& result) {
        return result.outcome == Replacement::Overtaken || result.outcome == Replacement::Held;
    }

    FileResult RunMissing(const FileLook& look) {
        const ReplacementResult result = ReplaceByDefault(m_file, look);
        if (IsToLookAgain(result)) {
            return FileResult::LookAgain;
        }
        if (result.outcome == Replacement::Failed) {
            RaiseReplacementError(m_file, result.error);
        }
        m_log.Log(LogNotable, m_texts.missing, m_file.Path().c_str(), ExistenceResult(m_file.Path()));
        const FileLook now = m_file.LookIfChanged(m_context.files.clock);
        if (now.verdict == FileVerdict::Missing) {
            m_log.Log(LogFailure, m_texts.statFailed);
            return FileResult::Done;
        }
        return Run(now);
    }

    FileResult Load(const ConfigLook& look) {
        const FileTime before = m_file.Time();
        m_file.Record(look.file, m_context.files.clock);
        m_log.Log(LogProgress, m_texts.changed);
        try {
            LoadLooked(m_file, look, m_context.files);
        } catch (const Cancelled&) {
            m_file.RecordTime(before);
            return FileResult::Stopped;
        }
        m_context.notifyReloaded();
        return FileResult::Loaded;
    }

    // The file is replaced first, so that a verdict without an action is not logged; the messages still have
    // the order of a load, a repair and a second load.
    FileResult Repair(const FileLook& look) {
        const std::optional<FileTime> time = LastWriteTime(m_file.Path());
        const ReplacementResult result = ReplaceByDefault(m_file, look);
        if (IsToLookAgain(result)) {
            return FileResult::LookAgain;
        }
        // The time of the refused file stays recorded: the copy counts as a further change.
        m_file.RecordTime(time.value_or(look.config.file.lastWrite));
        m_log.Log(LogProgress, m_texts.changed);
        LoadLooked(m_file, look.config, m_context.files);
        if (result.outcome == Replacement::Failed) {
            RaiseReplacementError(m_file, result.error);
        }
        try {
            LoadReplaced(m_file, L"ReloadPrivateConfigFile() copy %s again OK , exist:%d.", m_context.files);
        } catch (const Cancelled&) {
            return FileResult::Stopped;
        }
        m_context.notifyReloaded();
        return FileResult::Loaded;
    }

    PrivateFile& m_file;
    const ReloadContext& m_context;
    const HostLog& m_log;
    const ConfigFileTexts& m_texts;
};

} // namespace

bool ReloadPrivateConfigFile(PrivateFiles& files, ReloadLooks& looks, const ReloadContext& context) {
    context.files.log.Log(LogProgress, L"ReloadPrivateConfigFile begin");
    bool isLoaded = false;
    for (size_t i = 0; i < files.size(); ++i) {
        const FileResult result = FileReload(files[i], context).Run(looks[i]);
        isLoaded = isLoaded || result == FileResult::Loaded;
        looks[i].verdict = result == FileResult::LookAgain ? FileVerdict::Held : FileVerdict::Unchanged;
        if (result == FileResult::Stopped) {
            return isLoaded;
        }
    }
    return true;
}

} // namespace zq
