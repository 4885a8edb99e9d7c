#include <ZQSettingsKeys.hpp>

#include <cstdio>
#include <filesystem>

int main() {
    const auto print = [](int64_t bitrate) { std::printf("%d Mbit/s\n", static_cast<int>(bitrate)); };
    zq::Options options;
    options.commonDataDir = std::filesystem::current_path(); // a product takes the machine's ProgramData
    options.createDataFolder = true;
    try {
        const zq::Module module(options);
        print(module.get(zq::keys::Settings::CurrentBitrate).value_or(50));
        const auto token = module.subscribe(zq::keys::Settings::CurrentBitrate, print);
        std::getchar(); // edits of the files in ZQserver are printed until Enter
    } catch (const zq::Error& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
}
