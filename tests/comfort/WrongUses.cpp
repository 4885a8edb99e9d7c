// What must not compile, each with one clear error: clang compiles this with -verify, which fails when an
// expected error is absent or another one appears.
#include "ZQSettingsKeys.hpp"

void MisspeltName(const zq::Module& module) {
    module.get(zq::keys::Settings::CurentBitrate); // expected-error {{no member named 'CurentBitrate'}}
}

void TypeThatTheKeyHasNot(const zq::Module& module) {
    // expected-error@ZQSettings.hpp:* 3 {{the value does not fit the key's type without loss}}
    module.set(zq::keys::Settings::CurrentBitrate, 1.5);
    module.set(zq::keys::Settings::EnableDashboard, 1);
    module.save(zq::keys::Settings::ServerName, 1);
    std::optional<std::wstring> text;
    text = module.get(zq::keys::Settings::CurrentBitrate); // expected-error {{no viable overloaded '='}}
}

void TypeThatNoVariableHas(const zq::Module& module) {
    // expected-error@ZQSettings.hpp:* {{a variable is a bool, int64_t, double, std::wstring or}}
    module.get<float>(L"A");
    // expected-error@ZQSettings.hpp:* {{a variable is a bool, a number, a wide text or}}
    module.set(L"A", "a narrow text");
    // expected-error@ZQSettings.hpp:* {{a file holds bools, numbers and wide texts}}
    module.save(L"A", std::vector<std::byte>());
    // expected-error@ZQSettings.hpp:* {{an unsigned 64-bit value need not fit}}
    module.set(L"A", uint64_t{1});
}

void CachedInt(const zq::Module& module) {
    // expected-error@ZQSettings.hpp:* {{Cached holds a bool, an int64_t or a double}}
    const zq::Cached<int> cached(module, zq::Key<int>{L"A"});
}

void DroppedToken(const zq::Module& module) {
    module.subscribe(L"A", [](const zq::Change&) {}); // expected-error {{ignoring return value}}
}
