// The comfort header compiled for the Microsoft ABI, run against the DLL. Microsoft's own library is not
// available: GCC's headers are used, and MicrosoftRunTime.cpp provides what is in their library.
#include "ZQSettingsKeys.hpp"

// The macro that ZQAbi.h checks must select the Microsoft layout.
#if !defined(_MSC_VER)
#error "This program proves something only when it is compiled for the Microsoft ABI."
#endif

#include "HostSupport.h"

namespace zq {
namespace abi {
namespace {

constexpr auto kBitrate = keys::Settings::CurrentBitrate;

Options OptionsFor(const Folders& folders) {
    Options options;
    options.commonDataDir = folders.CommonDataDir();
    return options;
}

// The reason of the error that `action` raises; a check fails when it raises none.
template <class Action>
Reason ReasonOf(Action action) {
    try {
        action();
    } catch (const Error& error) {
        ZQ_CHECK(error.what()[0] != 0);
        return error.reason();
    }
    ZQ_CHECK(false);
    return Reason::NoObject;
}

void ReadAndWriteValues(const Module& module) {
    ZQ_CHECK(module.get(kBitrate) == 70);
    ZQ_CHECK(module.get(keys::Tracking::SmoothingFactor) == 0.15);
    ZQ_CHECK(module.get(keys::Settings::EnableDashboard) == true);
    ZQ_CHECK(module.get(keys::Settings::ServerName) == L"Lumo Server");
    ZQ_CHECK(!module.get<bool>(L"Nowhere") && !module.get<std::wstring>(L"Nowhere"));
    const std::wstring text(70000, L'x');
    module.set(L"Text", text);
    ZQ_CHECK(module.get<std::wstring>(L"Text") == text);
    const std::vector<std::byte> block(5, std::byte{9});
    module.set(L"Block", block);
    ZQ_CHECK(module.get<std::vector<std::byte>>(L"Block") == block);
    const Packet packet = module.pack();
    ZQ_CHECK(packet.view().isWhole() && module.unpack(packet.view()));
}

void HearOfChanges(const Module& module) {
    Signal arrived;
    std::atomic<bool> isCachedFirst{false};
    const Cached<int64_t> bitrate(module, kBitrate);
    Subscription token;
    token = module.subscribe(kBitrate, [&](int64_t value) {
        isCachedFirst = bitrate == value;
        token.reset();
        arrived.Set();
        throw std::runtime_error("dropped here, not in the module's frames");
    });
    ZQ_CHECK(bitrate == 70);
    module.set(kBitrate, 71);
    ZQ_CHECK(arrived.Wait() && isCachedFirst);

    Signal reloaded;
    const Subscription reloads = module.subscribe(Prefix{L"None"}, [&](const Change&) { reloaded.Set(); });
    module.save(kBitrate, 72);
    ZQ_CHECK(WaitUntil(reloaded, [&] { return bitrate == 72; }));
}

void RefuseWrongUses(Module& module, const Options& options) {
    const wchar_t* const none = nullptr;
    ZQ_CHECK(ReasonOf([&] { module.get<bool>(none); }) == Reason::InvalidArgument);
    ZQ_CHECK(ReasonOf([&] { module.save(kBitrate.name, L"\u00E9"); }) == Reason::InvalidArgument);
    Options wrong = options;
    wrong.library = L"C:\\nowhere.dll";
    ZQ_CHECK(ReasonOf([&] { const Module other(wrong); }) == Reason::LibraryMissing);
    module.close();
    ZQ_CHECK(ReasonOf([&] { module.get(kBitrate); }) == Reason::Closed);
}

} // namespace

void RunHost() {
    const Folders folders;
    Options options = OptionsFor(folders);
    std::atomic<int> endings{0};
    std::atomic<int> reports{0};
    options.log = [&](int level, const std::wstring& text) {
        endings += level == 2 && text == L"DoRelease end" ? 1 : 0;
        reports += level == 4 && text.find(L"raised dropped here") != std::wstring::npos ? 1 : 0;
    };
    Module module(options);
    ReadAndWriteValues(module);
    HearOfChanges(module);
    ZQ_CHECK(reports == 1);
    RefuseWrongUses(module, options);
    ZQ_CHECK(endings == 1);
}

} // namespace abi
} // namespace zq
