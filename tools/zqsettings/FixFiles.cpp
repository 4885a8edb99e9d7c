#include "FixFiles.h"

#include "Failure.h"
#include "FileBytes.h"
#include "Text.h"

#include "check/Fix.h"

#include <array>
#include <optional>
#include <vector>

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

bool HoldsExactly(const fs::path& path, const std::string& bytes) {
    std::error_code error;
    return fs::is_regular_file(fs::symlink_status(path, error)) &&
           fs::file_size(path, error) == bytes.size() && ReadBytes(path) == bytes;
}

std::wstring NumberText(int number) { return number == 1 ? L"" : std::to_wstring(number); }

// Under the first name that is free: "<name>.fixed<extension>", "<name>.fixed2<extension>", ...
fs::path WriteBeside(const fs::path& path, const std::string& bytes) {
    std::optional<TemporaryFile> file;
    for (int number = 1;; ++number) {
        fs::path beside = path;
        beside.replace_filename(path.stem().native() + L".fixed" + NumberText(number) +
                                path.extension().native());
        if (HoldsExactly(beside, bytes)) {
            return beside;
        }
        if (!file) {
            file.emplace(beside, bytes);
        }
        if (file->MoveToFree(beside)) {
            return beside;
        }
    }
}

fs::path FreeBackupName(const fs::path& path) {
    for (int number = 1;; ++number) {
        fs::path backup = path.native() + L".bak" + NumberText(number);
        if (!fs::exists(fs::symlink_status(backup))) {
            return backup;
        }
    }
}

} // namespace

FixReport FixOne(const FileArgument& file, const std::string& bytes, bool hasProblems, FixTarget target) {
    const std::optional<FixedFile> fixed = FixFile(file.file, bytes);
    if (!fixed) {
        return {false, false, "", file.shown + ": not fixed: only its author can correct the errors above\n"};
    }
    if (!fixed->isChanged) {
        return {true, true, "",
                file.shown + (hasProblems ? ": not fixed: only its author can correct the warnings above\n"
                                          : ": nothing to fix\n")};
    }
    const std::string done = ": " + WhatWasDone(*fixed) + '\n';
    if (target == FixTarget::Beside) {
        const std::string written = Utf8FromPath(WriteBeside(file.path, fixed->bytes));
        return {true, false, written, file.shown + ": unchanged; fixed copy written to " + written + done};
    }
    if (!HoldsExactly(file.path, bytes)) {
        throw Failure("the file " + file.shown + " has changed meanwhile and was left as it is");
    }
    const fs::path backup = FreeBackupName(file.path);
    ExchangeFile(file.path, fixed->bytes, backup);
    return {true, true, file.shown,
            file.shown + ": fixed; the old file is kept as " + Utf8FromPath(backup) + done};
}

} // namespace zq::tool
