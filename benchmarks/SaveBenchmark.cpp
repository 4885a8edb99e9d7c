// One save of one value in settings files of three sizes through the DLL, beside the same parse, pretty-print
// and rewrite done with RapidJSON and stdio directly. Interleaved rounds, medians.
#include "Rounds.h"

#include "CZQModSettings.h"

#include <rapidjson/document.h>
#include <rapidjson/filereadstream.h>
#include <rapidjson/filewritestream.h>
#include <rapidjson/prettywriter.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <windows.h>

namespace {

namespace fs = std::filesystem;

constexpr int kRounds = 31;
constexpr double kAllowed = 1.2;

class SilentHost final : public CZQModHost {
public:
    void Log(const wchar_t*, int32_t, const wchar_t*, va_list) override {}
    void OnConfigReloaded() override {}
};

std::string Settings(size_t bytes) {
    std::string text = "{\"Saved\":0";
    for (int i = 0; text.size() < bytes; ++i) {
        const std::string number = std::to_string(i);
        text += ",\"Group" + number + "\":{\"Bitrate\":" + number + ",\"Scale\":1.25,\"Name\":\"headset " +
                number + "\",\"On\":true}";
    }
    return text + "}";
}

void RewriteDirectly(const fs::path& file, int64_t value) {
    rapidjson::Document document;
    {
        std::FILE* in = _wfopen(file.c_str(), L"rb");
        std::fseek(in, 0, SEEK_END);
        std::vector<char> buffer(static_cast<size_t>(std::ftell(in)));
        std::fseek(in, 0, SEEK_SET);
        rapidjson::FileReadStream stream(in, buffer.data(), buffer.size());
        document.ParseStream(stream);
        std::fclose(in);
    }
    document["Saved"].SetInt64(value);
    std::FILE* out = _wfopen(file.c_str(), L"wb");
    char buffer[65'536];
    rapidjson::FileWriteStream stream(out, buffer, sizeof(buffer));
    rapidjson::PrettyWriter<rapidjson::FileWriteStream> writer(stream);
    writer.SetMaxDecimalPlaces(4);
    document.Accept(writer);
    std::fclose(out);
}

template <class Work>
double Milliseconds(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void Compare(size_t bytes) {
    wchar_t program[MAX_PATH];
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const fs::path defaults = fs::path(program).replace_filename(L"defaults");
    const fs::path root = fs::temp_directory_path() / ("zqsave-" + std::to_string(GetCurrentProcessId()));
    const fs::path data = root / L"ZQserver";
    fs::create_directories(data);
    const fs::path saved = data / L"ZQ2_serverSetting.setting";
    const fs::path direct = root / L"direct.json";
    for (const fs::path& file : {saved, direct}) {
        std::ofstream(file, std::ios::binary) << Settings(bytes);
    }

    const auto create = reinterpret_cast<ZQCreateSettingsFunction>(
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(L"ZQModSettings.dll"), "CreateSettings")));
    SilentHost host;
    CZQModSettings* module = create();
    module->DoInit(&host, L"", defaults.c_str(), root.c_str());

    std::vector<double> saves;
    std::vector<double> rewrites;
    for (int round = 0; round < kRounds; ++round) {
        saves.push_back(Milliseconds([&] { module->SaveConfigInt64(L"Saved", round, 0); }));
        rewrites.push_back(Milliseconds([&] { RewriteDirectly(direct, round); }));
    }
    module->DoRelease();
    ZQDestroy(module);

    const auto record = [bytes](const char* name, double milliseconds) {
        zq::bench::Record("save", static_cast<double>(bytes), name, 1000 * milliseconds);
    };
    record("module", Median(saves));
    record("RapidJSON with stdio", Median(rewrites));
    std::printf("%zu bytes\n", bytes);
    std::printf("save of one value   %7.2f ms\n", Median(saves));
    std::printf("RapidJSON directly  %7.2f ms\n", Median(rewrites));
    std::printf("ratio               %7.2f (allowed %.1f)\n", Median(saves) / Median(rewrites), kAllowed);
    std::error_code ignored;
    fs::remove_all(root, ignored);
}

} // namespace

int main() {
    for (const size_t bytes : {10'000u, 100'000u, 1'000'000u}) {
        Compare(bytes);
    }
}
