// The other program that edits configuration files while the module watches them.
//
//     file_editor MODE FILE OUTSIDE COUNT PAUSE SEED
//
// MODE   rewrite   truncate and write in one go
//        rename    write OUTSIDE, then rename it over FILE
//        slow      truncate, wait up to PAUSE milliseconds, write
//        touch     make and delete COUNT other files beside FILE, and rewrite FILE every 500th time and at
//        the end
// PAUSE  the longest pause between two edits, in milliseconds
//
// The n-th edit writes {"Edit":n,...}; n counts from 1.
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

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

std::string Content(int edit) {
    // Long enough that half of it is not the whole.
    return "{\"Edit\":" + std::to_string(edit) + ",\"Padding\":\"" + std::string(4000, 'x') + "\"}";
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

void Edit(const Arguments& arguments) {
    std::mt19937 random(arguments.seed);
    std::uniform_int_distribution<unsigned> pause(0, arguments.pause);
    for (int edit = 1; edit <= arguments.count; ++edit) {
        if (arguments.mode == L"rename") {
            Write(arguments.outside, Content(edit), 0);
            Until([&] {
                return MoveFileExW(arguments.outside.c_str(), arguments.file.c_str(),
                                   MOVEFILE_REPLACE_EXISTING) != 0;
            });
        } else {
            Write(arguments.file, Content(edit), arguments.mode == L"slow" ? pause(random) : 0);
        }
        Sleep(pause(random));
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
    } else {
        Edit(arguments);
    }
    return 0;
}
