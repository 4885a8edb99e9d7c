// One private configuration file: its path, the path of its default, and what a look at it finds.
//
// It refers to the members of the module object that hold its paths and its recorded time, and knows nothing
// else of that object. One thread at a time: DoInit's, then the watcher's.
#pragma once

#include "config/ConfigFile.h"
#include "config/ConfigLoader.h"
#include "platform/Files.h"
#include "platform/Mutex.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zq {

class Cancellation;
class Clock;

enum class FileVerdict {
    Unchanged, // as it was recorded
    Accepted,  // another content, which can be loaded
    Missing,
    Refused, // cannot be loaded, and waiting does not help
    Held,    // another program does not share it; nothing is known about it
    NoTime   // exists, but its time cannot be queried
};

struct FileLook {
    FileVerdict verdict = FileVerdict::Unchanged;
    ConfigLook config; // unless Unchanged or NoTime
};

class PrivateFile {
public:
    // All arguments must outlive this object. Saves hold `mutex` while they read, change and write the file.
    PrivateFile(ConfigFile kind, const std::wstring& path, const std::wstring& defaultPath, FileTime& time,
                const Mutex& mutex)
        : m_kind(kind), m_path(path), m_defaultPath(defaultPath), m_time(time), m_mutex(mutex) {}

    const ConfigFileTexts& Texts() const { return TextsOf(m_kind); }
    ConfigFile Kind() const { return m_kind; }
    const std::wstring& Path() const { return m_path; }
    const std::wstring& DefaultPath() const { return m_defaultPath; }
    const Mutex& GetMutex() const { return m_mutex; }
    const FileTime& Time() const { return m_time; }

    // Looks at the content, whatever the recorded time. Takes the mutex, so that a save is seen complete.
    // Raises Cancelled if `cancellation`, which may be null, requests it.
    FileLook Look(const Cancellation* cancellation = nullptr) const;
    // The same, but a file with the recorded time is Unchanged. While the file is doubted (see Record), its
    // bytes decide instead.
    FileLook LookIfChanged(const Clock& clock, const Cancellation* cancellation = nullptr);
    // Whether the file is missing or its time is not the recorded one.
    bool HasOtherTime() const { return LastWriteTime(m_path) != m_time; }

    // Whether another program has the file open for writing: asked about a refused file only (see
    // IsOpenForWriting).
    bool IsBeingWritten() const;

    // Records the time of a file that is about to be loaded. A time so recent that another write could get
    // the same one is not trusted: the file is doubted and its bytes are kept until a look at ConfirmAt()
    // finds them unchanged.
    void Record(const FileSnapshot& file, const Clock& clock);
    // Records a time without doubt.
    void RecordTime(const FileTime& time);

    // When a doubted file has to be checked again, in Clock::Milliseconds(); 0 if it is not doubted.
    uint64_t ConfirmAt() const { return m_confirmAt; }

private:
    ConfigFile m_kind;
    const std::wstring& m_path;
    const std::wstring& m_defaultPath;
    FileTime& m_time;
    const Mutex& m_mutex;
    uint64_t m_confirmAt = 0;
    std::vector<char> m_recordedBytes; // of a doubted file
};

} // namespace zq
