// Times in the forms that this program writes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace zq::tool {

// "2026-01-02T03:04:05.678Z", for other programs: of now, and of a file's time in units of 100 ns since 1601.
std::string UtcText();
std::string UtcText(uint64_t fileTime);

// Of a file's last write, in the same units; 0 for a file that is missing.
uint64_t TimeOfWrite(const std::filesystem::path& file);

// "20260102T030405.678Z", for the names of files.
std::string UtcFileStamp();

// "03:04:05.678" by the machine's clock, for a person.
std::string LocalClockText();

// Since the newest of the three configuration files of a folder was written.
double MillisecondsSinceLastWrite(const std::filesystem::path& folder);

} // namespace zq::tool
