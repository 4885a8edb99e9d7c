// The other program that edits configuration files while the module watches them.
//
//     file_editor STYLE FILE OUTSIDE COUNT PAUSE SEED
//
// STYLE  one of EditStyles.cpp; or touch: makes and deletes COUNT other files beside FILE, and rewrites FILE
//        every 500th time and at the end
// PAUSE  milliseconds: the longest pause between two edits, and the longest or the whole pause within one
//
// The n-th edit writes {"Edit":n,...}; n counts from 1.
#include "EditStyles.h"
#include "FileSteps.h"

#include <cstdio>
#include <random>
#include <string>

namespace {

using namespace zq::test;

void Touch(const EditTarget& target, int count) {
    const std::wstring folder = target.file.substr(0, target.file.rfind(L'\\') + 1);
    int edit = 0;
    for (int i = 1; i <= count; ++i) {
        const std::wstring other = folder + L"other-" + std::to_wstring(i) + L".tmp";
        Write(other, "");
        Delete(other);
        if (i % 500 == 0) {
            Write(target.file, Content(++edit));
        }
    }
    Write(target.file, Content(++edit));
}

int ToInt(const wchar_t* text) { return static_cast<int>(std::wcstol(text, nullptr, 10)); }

} // namespace

int wmain(int argc, wchar_t** argv) {
    const std::wstring name = argc == 7 ? argv[1] : L"";
    const EditStyle style = FindEditStyle(name);
    if (!style && name != L"touch") {
        std::fprintf(stderr, "usage: file_editor STYLE FILE OUTSIDE COUNT PAUSE SEED\n");
        return 2;
    }
    const int count = ToInt(argv[4]);
    const auto pause = static_cast<DWORD>(ToInt(argv[5]));
    std::mt19937 random(static_cast<unsigned>(ToInt(argv[6])));
    std::uniform_int_distribution<DWORD> length(0, pause);
    const EditTarget target{argv[2], argv[3], pause, [&] { return length(random); }};
    if (!style) {
        Touch(target, count);
        return 0;
    }
    for (int edit = 1; edit <= count; ++edit) {
        style(target, edit);
        target.WaitRandomly();
    }
    return 0;
}
