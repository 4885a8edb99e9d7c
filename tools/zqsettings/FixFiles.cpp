#include "FixFiles.h"

#include "Failure.h"
#include "Text.h"

#include "check/Fix.h"

#include <array>
#include <memory>
#include <random>
#include <vector>

#include <windows.h>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

struct DonePhrase {
    std::string_view code;
    const char* text; // with a count before it
};

constexpr std::array<DonePhrase, 28> kDone = {{{"comment", "comment removed"},
                                               {"odd-blank", "special blank replaced"},
                                               {"single-quotes", "line with single quotes rewritten"},
                                               {"curly-quotes", "line with typographic quotes rewritten"},
                                               {"inner-quotes", "text with inner quotes escaped"},
                                               {"unclosed-text", "closing quote added"},
                                               {"unopened-text", "opening quote added"},
                                               {"lost-unit", "opening quote added"},
                                               {"no-quotes", "word put in quotes"},
                                               {"no-colon", "colon added"},
                                               {"surplus-colon", "colon removed"},
                                               {"equals-sign", "equals sign replaced by a colon"},
                                               {"semicolon", "semicolon replaced by a comma"},
                                               {"surplus-comma", "comma removed"},
                                               {"trailing-comma", "trailing comma removed"},
                                               {"missing-comma", "comma added"},
                                               {"unclosed", "closing bracket added"},
                                               {"wrong-bracket", "bracket corrected"},
                                               {"no-brace", "opening brace added"},
                                               {"wrong-literal", "value written as JSON"},
                                               {"literal-case", "value written in lower case"},
                                               {"exponent", "number written without an exponent"},
                                               {"hexadecimal", "number written in decimal"},
                                               {"decimal-comma", "decimal comma replaced by a point"},
                                               {"unit", "unit removed"},
                                               {"odd-number", "number written as JSON"},
                                               {"backslash", "path written with double backslashes"},
                                               {"raw-control", "text with control characters escaped"}}};

std::string DoneText(std::string_view code) {
    for (const auto& done : kDone) {
        if (done.code == code) {
            return done.text;
        }
    }
    return "other problem fixed";
}

std::string Joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) {
        text += (text.empty() ? "" : ", ") + part;
    }
    return text;
}

std::string WhatWasDone(const FixedFile& fixed) {
    std::vector<std::string> done;
    switch (fixed.encoding) {
    case Encoding::MarkedUtf8:
        done.emplace_back("byte order mark removed");
        break;
    case Encoding::Utf16Little:
    case Encoding::Utf16Big:
        done.emplace_back("UTF-16 rewritten as ASCII");
        break;
    case Encoding::Utf32Little:
    case Encoding::Utf32Big:
        done.emplace_back("UTF-32 rewritten as ASCII");
        break;
    default:
        break;
    }
    for (const auto& [code, count] : fixed.problems) {
        done.push_back(std::to_string(count) + " x " + DoneText(code));
    }
    if (fixed.characters > 0) {
        done.push_back(
            Counted(fixed.characters, "character") + " rewritten as \\u escapes" +
            (fixed.encoding == Encoding::CodePage ? ", read by the code page of this machine" : ""));
    }
    if (fixed.trailing > 0) {
        done.push_back(Counted(fixed.trailing, "blank") + " after the end removed");
    }
    if (fixed.zeroBytes > 0) {
        done.push_back(Counted(fixed.zeroBytes, "zero byte") + " at the end removed");
    }
    return Joined(done);
}

struct CloseFileHandle {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

[[noreturn]] void FailToWrite(const fs::path& path) {
    throw Failure("the file " + Utf8FromPath(path) + " cannot be written");
}

// Nobody can have planted a link or file under a name that nobody can guess; CREATE_NEW makes sure.
fs::path UnguessableBeside(const fs::path& path) {
    constexpr int kDigits = 16;
    std::random_device random;
    std::wstring name = path.filename().native() + L".";
    for (int i = 0; i < kDigits; ++i) {
        name += L"0123456789abcdef"[random() % 16];
    }
    return path.parent_path() / (name + L".tmp");
}

// A file that exists only while it is written, unless it is moved to its name.
class NewFile {
public:
    NewFile(const fs::path& target, const std::string& bytes)
        : m_target(target), m_path(UnguessableBeside(target)) {
        std::unique_ptr<HANDLE, CloseFileHandle> file(CreateFileW(
            m_path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (file.get() == INVALID_HANDLE_VALUE) {
            static_cast<void>(file.release()); // there is no handle to close
            m_path.clear();
            FailToWrite(m_target);
        }
        DWORD written = 0;
        const bool isWritten =
            WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) != 0 &&
            written == bytes.size() && FlushFileBuffers(file.get()) != 0;
        file.reset();
        if (!isWritten) {
            Remove();
            FailToWrite(m_target);
        }
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() { Remove(); }

    // Returns false where a file of that name is there and may not be replaced.
    bool MoveTo(const fs::path& path, bool mayReplace) {
        const DWORD flags = MOVEFILE_WRITE_THROUGH | (mayReplace ? MOVEFILE_REPLACE_EXISTING : 0);
        if (MoveFileExW(m_path.c_str(), path.c_str(), flags)) {
            m_path.clear();
            return true;
        }
        const DWORD error = GetLastError();
        if (!mayReplace && (error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS)) {
            return false;
        }
        FailToWrite(path);
    }

private:
    void Remove() {
        if (!m_path.empty()) {
            DeleteFileW(m_path.c_str());
        }
    }

    fs::path m_target;
    fs::path m_path; // empty once it is moved
};

bool HoldsExactly(const fs::path& path, const std::string& bytes) {
    std::error_code error;
    return fs::is_regular_file(fs::symlink_status(path, error)) &&
           fs::file_size(path, error) == bytes.size() && ReadBytes(path) == bytes;
}

// Writes the bytes under the first name that is free: `name(1)`, `name(2)`, ...
template <class Name>
fs::path WriteUnderFreeName(const std::string& bytes, Name name) {
    NewFile file(name(1), bytes);
    for (int number = 1;; ++number) {
        fs::path path = name(number);
        if (HoldsExactly(path, bytes) || file.MoveTo(path, false)) {
            return path;
        }
    }
}

std::wstring NumberText(int number) { return number == 1 ? L"" : std::to_wstring(number); }

fs::path WriteBeside(const fs::path& path, const std::string& bytes) {
    return WriteUnderFreeName(bytes, [&path](int number) {
        fs::path beside = path;
        beside.replace_filename(path.stem().native() + L".fixed" + NumberText(number) +
                                path.extension().native());
        return beside;
    });
}

fs::path WriteBackup(const fs::path& path, const std::string& bytes) {
    return WriteUnderFreeName(
        bytes, [&path](int number) { return fs::path(path.native() + L".bak" + NumberText(number)); });
}

} // namespace

FixReport FixOne(const FileArgument& file, const std::string& bytes, FixTarget target) {
    const std::optional<FixedFile> fixed = FixFile(file.file, bytes);
    if (!fixed) {
        return {false, false, "", file.shown + ": not fixed: only its author can correct the errors above\n"};
    }
    if (!fixed->isChanged) {
        return {true, true, "", file.shown + ": nothing to fix\n"};
    }
    const std::string done = ": " + WhatWasDone(*fixed) + '\n';
    if (target == FixTarget::Beside) {
        const std::string written = Utf8FromPath(WriteBeside(file.path, fixed->bytes));
        return {true, false, written, file.shown + ": unchanged; fixed copy written to " + written + done};
    }
    NewFile replacement(file.path, fixed->bytes);
    if (!HoldsExactly(file.path, bytes)) {
        throw Failure("the file " + file.shown + " has changed meanwhile and was left as it is");
    }
    const fs::path backup = WriteBackup(file.path, bytes);
    replacement.MoveTo(file.path, true);
    return {true, true, file.shown,
            file.shown + ": fixed; the old file is kept as " + Utf8FromPath(backup) + done};
}

} // namespace zq::tool
