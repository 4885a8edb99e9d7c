#include "MendFiles.h"

#include "Failure.h"
#include "Text.h"

#include "check/Mend.h"

#include <fstream>
#include <system_error>
#include <vector>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

std::string Joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) {
        text += (text.empty() ? "" : ", ") + part;
    }
    return text;
}

std::string WhatWasDone(const MendedFile& mended) {
    std::vector<std::string> done;
    switch (mended.encoding) {
    case Encoding::MarkedUtf8:
        done.emplace_back("byte order mark taken away");
        break;
    case Encoding::Utf16Little:
    case Encoding::Utf16Big:
        done.emplace_back("UTF-16 written as ASCII");
        break;
    default:
        break;
    }
    if (mended.characters > 0) {
        done.push_back(
            Counted(mended.characters, "character") + " written as \\u escapes" +
            (mended.encoding == Encoding::CodePage ? ", read by the code page of this machine" : ""));
    }
    if (mended.trailing > 0) {
        done.push_back(Counted(mended.trailing, "character") +
                       " of blanks and line breaks behind the end taken away");
    }
    if (mended.zeroBytes > 0) {
        done.push_back(Counted(mended.zeroBytes, "zero character") + " at the end taken away");
    }
    return Joined(done);
}

fs::path BesidePath(const fs::path& path) {
    fs::path beside = path;
    beside.replace_filename(path.stem().native() + L".fixed" + path.extension().native());
    return beside;
}

fs::path FreeBackupPath(const fs::path& path) {
    const std::wstring first = path.native() + L".bak";
    fs::path backup = first;
    for (int i = 2; fs::exists(backup); ++i) {
        backup = first + std::to_wstring(i);
    }
    return backup;
}

// Whole or not at all: written beside, then put in its place.
void WriteWhole(const fs::path& path, const std::string& bytes) {
    fs::path part = path;
    part += L".part";
    std::ofstream out(part, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    std::error_code error;
    if (out) {
        fs::rename(part, path, error);
    }
    if (!out || error) {
        std::error_code ignored;
        fs::remove(part, ignored);
        throw Failure("the file " + Utf8FromPath(path) + " cannot be written");
    }
}

} // namespace

MendReport MendOne(const FileArgument& file, const std::string& bytes, MendTarget target) {
    const std::optional<MendedFile> mended = MendFile(file.file, bytes);
    if (!mended) {
        return {false, "", file.shown + ": not mended: the errors above are for its author to put right\n"};
    }
    if (!mended->isChanged) {
        return {true, "", file.shown + ": nothing to mend\n"};
    }
    std::string text = file.shown + ": ";
    fs::path written = file.path;
    if (target == MendTarget::Beside) {
        written = BesidePath(file.path);
        text += "mended copy written to " + Utf8FromPath(written);
    } else {
        const fs::path backup = FreeBackupPath(file.path);
        std::error_code error;
        if (!fs::copy_file(file.path, backup, error)) {
            throw Failure("the file " + Utf8FromPath(backup) + " cannot be written");
        }
        text += "mended; the old file is kept as " + Utf8FromPath(backup);
    }
    WriteWhole(written, mended->bytes);
    return {true, Utf8FromPath(written), text + ": " + WhatWasDone(*mended) + '\n'};
}

} // namespace zq::tool
