#include "TimeText.h"

#include "config/ConfigFile.h"
#include "platform/FileTicks.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include <windows.h>

namespace zq::tool {

namespace {

SYSTEMTIME Now() {
    SYSTEMTIME time{};
    GetSystemTime(&time);
    return time;
}

template <class... Fields>
std::string Formatted(const char* format, Fields... fields) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, static_cast<unsigned>(fields)...);
    return text.data();
}

std::string UtcText(const SYSTEMTIME& time) {
    return Formatted("%04u-%02u-%02uT%02u:%02u:%02u.%03uZ", time.wYear, time.wMonth, time.wDay, time.wHour,
                     time.wMinute, time.wSecond, time.wMilliseconds);
}

} // namespace

std::string UtcText() { return UtcText(Now()); }

std::string UtcText(uint64_t fileTime) {
    const FILETIME parts = {static_cast<DWORD>(fileTime), static_cast<DWORD>(fileTime >> 32U)};
    SYSTEMTIME time{};
    FileTimeToSystemTime(&parts, &time);
    return UtcText(time);
}

uint64_t TimeOfWrite(const std::filesystem::path& file) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data);
    return TicksOf(data.ftLastWriteTime);
}

std::string UtcFileStamp() {
    const SYSTEMTIME now = Now();
    return Formatted("%04u%02u%02uT%02u%02u%02u.%03uZ", now.wYear, now.wMonth, now.wDay, now.wHour,
                     now.wMinute, now.wSecond, now.wMilliseconds);
}

std::string LocalClockText() {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return Formatted("%02u:%02u:%02u.%03u", now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
}

double MillisecondsSinceLastWrite(const std::filesystem::path& folder) {
    constexpr double kTicksPerMillisecond = 10'000;
    uint64_t newest = 0;
    for (const ConfigFile file : kConfigFiles) {
        newest = std::max(newest, TimeOfWrite(folder / NameOfConfigFile(file)));
    }
    FILETIME now{};
    GetSystemTimePreciseAsFileTime(&now);
    return (static_cast<double>(TicksOf(now)) - static_cast<double>(newest)) / kTicksPerMillisecond;
}

} // namespace zq::tool
