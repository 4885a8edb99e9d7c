// The other program that edits configuration files while the module watches them.
//
//     file_editor MODE FILE OUTSIDE COUNT PAUSE SEED
//
// MODE   rewrite    truncate and write in one go
//        rename     write OUTSIDE, then rename it over FILE
//        slow       truncate, wait up to PAUSE milliseconds, write
//        pieces     truncate, write in pieces with pauses
//        overlong   write over the old content in pieces without truncating; the new one is longer
//        overshort  the same with a shorter one; the length is set at the end
//        recreate   delete, wait, create
//        backup     rename FILE away, wait, rename OUTSIDE to FILE
//        mapped     truncate, write through a mapping of the file
//        die        truncate, write half, end with 3
//        scan       hold the file without sharing it, COUNT times
//        touch      make and delete COUNT other files beside FILE, and rewrite FILE every 500th time and at
//                   the end
// PAUSE  the longest pause between two edits, or two steps of one, in milliseconds
//
// The n-th edit writes {"Edit":n,...}; n counts from 1.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <string_view>

#include <windows.h>

namespace {

struct Arguments {
    std::wstring mode;
    std::wstring file;
    std::wstring outside;
    int count;
    unsigned pause;
    unsigned seed;
};

std::string Content(int edit, size_t padding = 4000) {
    // Long enough that half of it is not the whole.
    return "{\"Edit\":" + std::to_string(edit) + ",\"Padding\":\"" + std::string(padding, 'x') + "\"}";
}

// An editor tries again when somebody holds the file for a moment.
template <class Try>
void Until(Try attempt) {
    for (int i = 0; !attempt(); ++i) {
        if (i == 500) {
            std::fprintf(stderr, "file_editor: error %lu\n", GetLastError());
            std::exit(1);
        }
        Sleep(1);
    }
}

void Write(const std::wstring& path, const std::string& bytes, unsigned waitAfterTruncation) {
    HANDLE file = INVALID_HANDLE_VALUE;
    Until([&] {
        file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
        return file != INVALID_HANDLE_VALUE;
    });
    if (waitAfterTruncation != 0) {
        Sleep(waitAfterTruncation);
    }
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(file);
}

void Touch(const Arguments& arguments) {
    const std::wstring folder = arguments.file.substr(0, arguments.file.rfind(L'\\') + 1);
    int edit = 0;
    for (int i = 1; i <= arguments.count; ++i) {
        const std::wstring other = folder + L"other-" + std::to_wstring(i) + L".tmp";
        CloseHandle(CreateFileW(other.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
        DeleteFileW(other.c_str());
        if (i % 500 == 0) {
            Write(arguments.file, Content(++edit), 0);
        }
    }
    Write(arguments.file, Content(++edit), 0);
}

HANDLE Open(const std::wstring& path, DWORD disposition, DWORD share = FILE_SHARE_READ) {
    HANDLE file = INVALID_HANDLE_VALUE;
    Until([&] {
        file = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, share, nullptr, disposition,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
        return file != INVALID_HANDLE_VALUE;
    });
    return file;
}

void Put(HANDLE file, std::string_view bytes) {
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void Move(const std::wstring& from, const std::wstring& to, DWORD flags) {
    Until([&] { return MoveFileExW(from.c_str(), to.c_str(), flags) != 0; });
}

// The pauses of one edit.
using Pause = std::function<void()>;

void WritePieces(const std::wstring& path, const std::string& bytes, DWORD disposition, const Pause& pause) {
    constexpr size_t kPiece = 1500;
    const HANDLE file = Open(path, disposition);
    for (size_t offset = 0; offset < bytes.size(); offset += kPiece) {
        Put(file, std::string_view(bytes).substr(offset, kPiece));
        pause();
    }
    SetEndOfFile(file);
    CloseHandle(file);
}

void WriteMapped(const std::wstring& path, const std::string& bytes) {
    const HANDLE file = Open(path, CREATE_ALWAYS);
    const HANDLE mapping =
        CreateFileMappingW(file, nullptr, PAGE_READWRITE, 0, static_cast<DWORD>(bytes.size()), nullptr);
    void* const view = MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0);
    std::memcpy(view, bytes.data(), bytes.size());
    FlushViewOfFile(view, 0);
    UnmapViewOfFile(view);
    CloseHandle(mapping);
    CloseHandle(file);
}

void Die(const std::wstring& path) {
    const HANDLE file = Open(path, CREATE_ALWAYS);
    const std::string bytes = Content(1);
    Put(file, std::string_view(bytes).substr(0, bytes.size() / 2));
    TerminateProcess(GetCurrentProcess(), 3);
}

void EditOnce(const Arguments& arguments, int edit, const Pause& pause) {
    const std::wstring& mode = arguments.mode;
    const std::wstring& file = arguments.file;
    if (mode == L"rename") {
        Write(arguments.outside, Content(edit), 0);
        Move(arguments.outside, file, MOVEFILE_REPLACE_EXISTING);
    } else if (mode == L"pieces") {
        WritePieces(file, Content(edit), CREATE_ALWAYS, pause);
    } else if (mode == L"overlong") {
        WritePieces(file, Content(edit, 4000 + static_cast<size_t>(edit)), OPEN_EXISTING, pause);
    } else if (mode == L"overshort") {
        WritePieces(file, Content(edit, 4000 - static_cast<size_t>(edit)), OPEN_EXISTING, pause);
    } else if (mode == L"recreate") {
        Until([&] { return DeleteFileW(file.c_str()) != 0; });
        pause();
        Write(file, Content(edit), 0);
    } else if (mode == L"backup") {
        Write(arguments.outside, Content(edit), 0);
        Move(file, file + L".bak", MOVEFILE_REPLACE_EXISTING);
        pause();
        Move(arguments.outside, file, 0);
    } else if (mode == L"mapped") {
        WriteMapped(file, Content(edit));
    } else if (mode == L"scan") {
        const HANDLE held = CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        pause();
        if (held != INVALID_HANDLE_VALUE) {
            CloseHandle(held);
        }
    } else {
        Write(file, Content(edit), 0);
    }
}

void Edit(const Arguments& arguments) {
    std::mt19937 random(arguments.seed);
    std::uniform_int_distribution<unsigned> length(0, arguments.pause);
    const Pause pause = [&] { Sleep(length(random)); };
    for (int edit = 1; edit <= arguments.count; ++edit) {
        if (arguments.mode == L"slow") {
            Write(arguments.file, Content(edit), length(random));
        } else {
            EditOnce(arguments, edit, pause);
        }
        pause();
    }
}

} // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 7) {
        std::fprintf(stderr, "usage: file_editor MODE FILE OUTSIDE COUNT PAUSE SEED\n");
        return 2;
    }
    const Arguments arguments{argv[1],
                              argv[2],
                              argv[3],
                              static_cast<int>(std::wcstol(argv[4], nullptr, 10)),
                              static_cast<unsigned>(std::wcstoul(argv[5], nullptr, 10)),
                              static_cast<unsigned>(std::wcstoul(argv[6], nullptr, 10))};
    if (arguments.mode == L"touch") {
        Touch(arguments);
    } else if (arguments.mode == L"die") {
        Die(arguments.file);
    } else {
        Edit(arguments);
    }
    return 0;
}
