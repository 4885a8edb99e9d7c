// zqsettings: the settings module from a command line. Its texts are UTF-8 in both directions.
#include "CommandLine.h"
#include "Text.h"

#include <cstdio>
#include <string>
#include <vector>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

namespace zq::tool {

namespace {

std::vector<std::string> Arguments() {
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
        arguments.push_back(Utf8FromWide(words[i]));
    }
    LocalFree(words);
    return arguments;
}

} // namespace

} // namespace zq::tool

int main() {
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    return zq::tool::RunCommandLine(zq::tool::Arguments());
}
