#include "module/files/PrivateFile.h"

#include "platform/Clock.h"

#include <utility>

namespace zq {

namespace {

// Two writes within one tick of the file system's clock get the same time. No file system that holds a data
// folder has a coarser tick while it is mounted.
constexpr uint64_t kDoubtMilliseconds = 50;
constexpr uint64_t kTicksPerMillisecond = 10'000;

FileVerdict VerdictOn(const ConfigLook& look) {
    switch (look.file.access) {
    case FileAccess::Missing:
        return FileVerdict::Missing;
    case FileAccess::Held:
        return FileVerdict::Held;
    default:
        return look.isAccepted ? FileVerdict::Accepted : FileVerdict::Refused;
    }
}

} // namespace

FileLook PrivateFile::Look(const Cancellation* cancellation) const {
    FileLook look;
    {
        MutexLock lock(m_mutex);
        look.config.file = ReadSnapshot(m_path);
    }
    ParseLook(Kind(), look.config, cancellation);
    look.verdict = VerdictOn(look.config);
    return look;
}

FileLook PrivateFile::LookIfChanged(const Clock& clock, const Cancellation* cancellation) {
    const std::optional<FileTime> time = LastWriteTime(m_path);
    if (!time && FileExists(m_path)) {
        return {FileVerdict::NoTime, {}};
    }
    const bool isSameTime = time == m_time;
    if (isSameTime && m_confirmAt == 0) {
        return {};
    }
    FileLook look = Look(cancellation);
    if (isSameTime && look.config.file.access == FileAccess::Read &&
        look.config.file.bytes == m_recordedBytes) {
        if (clock.Milliseconds() >= m_confirmAt) {
            RecordTime(m_time);
        }
        return {};
    }
    return look;
}

bool PrivateFile::IsBeingWritten() const {
    MutexLock lock(m_mutex);
    return IsOpenForWriting(m_path);
}

void PrivateFile::Record(const FileSnapshot& file, const Clock& clock) {
    RecordTime(file.lastWrite);
    if (clock.FileTicks() < file.lastWrite.ticks + kDoubtMilliseconds * kTicksPerMillisecond) {
        m_recordedBytes = file.bytes;
        m_confirmAt = clock.Milliseconds() + kDoubtMilliseconds;
    }
}

void PrivateFile::RecordTime(const FileTime& time) {
    m_time = time;
    m_confirmAt = 0;
    m_recordedBytes = {};
}

} // namespace zq
