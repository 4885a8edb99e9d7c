#include "tools/RunCommand.h"

#include "CommandLine.h"
#include "Text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <shellapi.h>

namespace zq::test {

namespace {

// A stream of the process that goes to another file for a while.
class RedirectedStream {
public:
    RedirectedStream(std::FILE* stream, int file) : m_stream(stream), m_descriptor(_fileno(stream)) {
        std::fflush(m_stream);
        m_before = _dup(m_descriptor);
        if (m_before < 0 || _dup2(file, m_descriptor) != 0) {
            throw std::runtime_error("a stream cannot be redirected");
        }
    }
    ~RedirectedStream() { PutBack(); }
    RedirectedStream(const RedirectedStream&) = delete;
    RedirectedStream& operator=(const RedirectedStream&) = delete;

    void PutBack() {
        if (m_before >= 0) {
            std::fflush(m_stream);
            _dup2(m_before, m_descriptor);
            _close(m_before);
            m_before = -1;
        }
    }

private:
    std::FILE* m_stream;
    int m_descriptor;
    int m_before = -1; // closed once it is back
};

// What is written to a stream of the process, from construction to Take.
class CapturedStream {
public:
    explicit CapturedStream(std::FILE* stream) : m_file(OpenFileFor(stream)), m_redirected(stream, m_file) {}
    ~CapturedStream() {
        m_redirected.PutBack();
        _close(m_file);
    }
    CapturedStream(const CapturedStream&) = delete;
    CapturedStream& operator=(const CapturedStream&) = delete;

    std::string Take() {
        m_redirected.PutBack();
        std::string text;
        std::array<char, 4096> piece{};
        _lseek(m_file, 0, SEEK_SET);
        for (int count = 1; count > 0; text.append(piece.data(), static_cast<size_t>(std::max(count, 0)))) {
            count = _read(m_file, piece.data(), piece.size());
        }
        return text;
    }

private:
    static int OpenFileFor(std::FILE* stream) {
        const std::filesystem::path path =
            std::filesystem::temp_directory_path() /
            ("captured-" + std::to_string(GetCurrentProcessId()) + '-' + std::to_string(_fileno(stream)));
        return _wopen(path.c_str(), _O_CREAT | _O_TRUNC | _O_RDWR | _O_BINARY | _O_TEMPORARY,
                      _S_IREAD | _S_IWRITE);
    }

    int m_file;
    RedirectedStream m_redirected;
};

// As the program splits its own command line.
std::vector<std::string> Split(const std::wstring& arguments) {
    int count = 0;
    wchar_t** const words = CommandLineToArgvW((L"zqsettings " + arguments).c_str(), &count);
    std::vector<std::string> split;
    for (int i = 1; i < count; ++i) {
        split.push_back(tool::Utf8FromWide(words[i]));
    }
    LocalFree(words);
    return split;
}

} // namespace

ToolRun RunCommand(const std::wstring& arguments) {
    CapturedStream output(stdout);
    CapturedStream errors(stderr);
    const int exitCode = tool::RunCommandLine(Split(arguments));
    return {static_cast<unsigned>(exitCode), output.Take(), errors.Take()};
}

ToolRun RunCommandInto(int output, const std::wstring& arguments) {
    RedirectedStream redirected(stdout, output);
    CapturedStream errors(stderr);
    const int exitCode = tool::RunCommandLine(Split(arguments));
    return {static_cast<unsigned>(exitCode), "", errors.Take()};
}

} // namespace zq::test
