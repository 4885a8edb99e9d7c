// A DLL whose CreateSettings gives no object, as the module's does when the system has no mutex left.
extern "C" __declspec(dllexport) void* CreateSettings() { return nullptr; }
