// A host of the module's own tool chain: the loader has drawn the stack protector's guard, and an exception
// that leaves the module is caught with its type.
#include <CZQModSettings.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>

#include <windows.h>

namespace {

std::uint64_t ReadGuard(const char* image) {
    std::uint32_t header = 0;
    std::memcpy(&header, image + 0x3C, sizeof(header));
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(image + header);
    const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_LOAD_CONFIG];
    const std::uint64_t* guard = nullptr;
    std::memcpy(&guard, image + directory.VirtualAddress + 88, sizeof(guard)); // SecurityCookie
    return *guard;
}

} // namespace

int main() {
    const HMODULE library = LoadLibraryW(L"ZQModSettings.dll");
    if (!library) {
        std::puts("the DLL cannot be loaded");
        return 1;
    }
    if (ReadGuard(reinterpret_cast<const char*>(library)) == 0x00002B992DDFA232) {
        std::puts("the stack protector's guard is the one in the file");
        return 2;
    }
    const auto create = reinterpret_cast<ZQCreateSettingsFunction>(
        reinterpret_cast<void*>(GetProcAddress(library, "CreateSettings")));
    CZQModSettings* const module = create();
    try {
        // Neither a default file nor a data folder.
        module->DoInit(nullptr, L"Z:\\missing\\host.exe", L"Z:\\missing\\defaults", L"Z:\\missing\\data");
    } catch (const std::exception& error) {
        std::printf("caught: %s\n", error.what());
        return 0;
    }
    std::puts("DoInit raised no exception");
    return 3;
}
