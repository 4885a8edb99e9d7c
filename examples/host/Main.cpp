// A whole host of the settings module: example_host DATA_FOLDER
// DATA_FOLDER is the machine's common application-data folder.
#include <ZQSettingsKeys.hpp>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <thread>

namespace {

constexpr auto kBitrate = zq::keys::Settings::CurrentBitrate;

// Sets and saves arrive shortly afterwards, on a thread of the module; a cached value shows it.
void WaitFor(const zq::Cached<int64_t>& value, int64_t wanted) {
    for (int i = 0; i < 500 && value != wanted; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::printf("%ls is %lld\n", kBitrate.name, static_cast<long long>(value));
}

void Run(const std::filesystem::path& data) {
    zq::Options options;
    options.commonDataDir = data;
    options.createDataFolder = true;
    options.log = [](int level, const std::wstring& text) {
        std::printf("ZQModSettings %d: %ls\n", level, text.c_str());
    };
    options.reloaded = [] { std::printf("the files were looked at again\n"); };

    const zq::Module module(
        options); // loaded, initialised and started; the end of the scope undoes it in order
    const zq::Cached<int64_t> bitrate(module, kBitrate);
    const auto token = module.subscribe(zq::Prefix{L"Settings."}, [](const zq::Change& change) {
        std::printf(change.isReload() ? "a file was read again: any variable may have changed\n"
                                      : "changed: %ls\n",
                    change.name.data());
    });
    WaitFor(bitrate, 70);
    module.set(kBitrate, 100); // in memory only
    WaitFor(bitrate, 100);
    module.save(kBitrate, 90); // into the file, which the module then reads again
    WaitFor(bitrate, 90);
    std::printf("a packet of all variables is %s\n", module.pack().view().isWhole() ? "whole" : "damaged");
}

} // namespace

int wmain(int count, wchar_t** words) {
    try {
        Run(std::filesystem::absolute(count == 2 ? words[1] : L"."));
        return 0;
    } catch (const std::exception& error) { // zq::Error says what is missing where
        std::fprintf(stderr, "example_host: %s.\n", error.what());
        return 1;
    }
}
