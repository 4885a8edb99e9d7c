// The settings module: its one export and the interface that drives it.
//
//     CZQModSettings* module = CreateSettings();
//     module->DoInit(&host, programPath, defaultsFolder, commonDataFolder);
//     module->DoStart();
//     CZQVariable* variables = ZQVariables(module);
//     ...
//     module->DoStop();
//     module->DoRelease();
//     ZQDestroy(module);
//
// The caller must keep to that order at the end: destroying the object neither stops the folder watcher nor
// frees binary variables.
//
// REQUIRES: the host's objects (CZQModHost, every CZQVariableHost) outlive the module object.
//
// The variables of a file appear together, after the messages about it.
//
// The interface's own bodies do nothing; those of DoInit and DoStart return 1.
#pragma once

#include "CZQModHost.h"
#include "CZQVariable.h"
#include "ZQAbi.h"

class CZQModSettings {
    // Slot 0. Unregisters the hosts that are still registered and frees the object. Call it by ZQDestroy.
    ZQ_DESTRUCTOR_SLOT(CZQModSettings)

    // Slot 1. Copies each file that the data folder lacks from the default folder, loads the three
    // configuration files (one that is refused is replaced by its default copy), surveys the machine and
    // determines the device name.
    //
    // REQUIRES: called once, on a thread of the host, before DoStart and before any host registers.
    //
    // host           receives the messages; not owned. Null for no messages, but DoStart needs a host
    // hostPath       a path inside the installation folder, of which the part before the last backslash is
    //                used; up to 511 characters
    // defaultDir     the folder of the default files, without a trailing backslash; only read
    // commonDataDir  the machine's common application-data folder, without a trailing backslash. The caller
    //                must make sure that the data folder "ZQserver" exists in it
    //
    // Waits up to 5 seconds for files that other programs hold, all three together; one that is still held is
    // left alone, and the content of its default is loaded. Waits for the machine's WMI service as long as it
    // takes.
    //
    // A null path is treated as an empty one. Returns 0. Throws std::filesystem::filesystem_error when the
    // data folder is missing, or a default file that is needed, or when a file cannot be replaced (see
    // CZQVariable.h on exceptions).
    virtual int32_t DoInit(CZQModHost* host, const wchar_t* hostPath, const wchar_t* defaultDir,
                           const wchar_t* commonDataDir) {
        (void)host, (void)hostPath, (void)defaultDir, (void)commonDataDir;
        return 1;
    }

    // Slot 2. Starts the folder watcher, unless one runs, and looks up the installed client's version.
    // Returns 0. After DoStop a watcher that is started ends at once.
    //
    // REQUIRES: DoInit was called with a host.
    virtual int32_t DoStart() { return 1; }

    // Slot 3. Stops the folder watcher: waits up to one second for its thread, then terminates it. A load
    // that takes longer is abandoned before that. Returns within 1.2 seconds.
    virtual void DoStop() {}

    // Slot 4. Frees the binary variables. Hosts may still be registered and may still read variables.
    virtual void DoRelease() {}

    // Slot 5. Sets the string variable "DefaultDeviceName" to the name of the headset in use:
    // "HmdNameList.<n>", where n is the integer variable "DHI"; to a fixed name if either does not exist. Any
    // thread may call.
    virtual void UpdateDefaultDeviceName() {}

    // Slots 6 to 9. Kept so that later slots keep their numbers: each logs the name and saves nothing.
    virtual void SaveConfigRemoved6(const wchar_t* name) { (void)name; }
    virtual void SaveConfigRemoved7(const wchar_t* name) { (void)name; }
    virtual void SaveConfigRemoved8(const wchar_t* name) { (void)name; }
    virtual void SaveConfigRemoved9(const wchar_t* name) { (void)name; }

    // Slot 10. Overwrites the first `count` numbers of one response's "Value" in the headset list file. The
    // response is the first one that matches mainRequest, subRequest and index, in the first device whose
    // "DeviceName" is deviceName; a negative number matches any. A count of 0 or less rewrites the file with
    // the same content.
    //
    // Writes nothing unless "Value" holds at least `count` elements.
    //
    // This holds for every save: it returns nothing, it writes nothing if the file or the member is not as
    // described, the variables change only once the watcher has read the file again, and any thread may call,
    // callbacks included. What is saved is on the disk when the call returns; a file that cannot be written
    // whole stays as it was. A file that another program holds is tried for half a second.
    virtual void SaveConfigHmdListIntArray(const wchar_t* deviceName, int32_t mainRequest, int32_t subRequest,
                                           int32_t index, const int64_t* values, int32_t count) {
        (void)deviceName, (void)mainRequest, (void)subRequest, (void)index, (void)values, (void)count;
    }

    // Slot 11. Replaces the value of one member of the settings file, in every place where the file has it. A
    // save never adds a member.
    //
    // name       the whole name of a member of the file's root; a dot in it is part of the name
    // perDevice  other than 0: `name` is "CL.<anything>.<member>" and names the member of the headset in use,
    //            which is the entry of the file's "CL" whose index is the integer variable "DHI". Treated as
    //            0 if the file has no "CL".
    virtual void SaveConfigDouble(const wchar_t* name, double value, ZQBool perDevice) {
        (void)name, (void)value, (void)perDevice;
    }

    // Slot 12. As slot 11.
    virtual void SaveConfigBool(const wchar_t* name, ZQBool value, ZQBool perDevice) {
        (void)name, (void)value, (void)perDevice;
    }

    // Slot 13. As slot 11.
    //
    // REQUIRES: `value` is zero-terminated and ASCII. It is written as UTF-8, but a file with characters
    // beyond ASCII is refused at the next load.
    virtual void SaveConfigString(const wchar_t* name, const char* value, ZQBool perDevice) {
        (void)name, (void)value, (void)perDevice;
    }

    // Slot 14. As slot 11.
    virtual void SaveConfigInt64(const wchar_t* name, int64_t value, ZQBool perDevice) {
        (void)name, (void)value, (void)perDevice;
    }
};

// The DLL's one export: returns a new module object, which the caller owns and frees with ZQDestroy. Returns
// null when memory runs out or a mutex cannot be created. Each call makes an independent object. Declared for
// hosts that link the DLL; define ZQ_NO_IMPORT to leave the declaration out.
#if defined(_WIN32) && !defined(ZQ_NO_IMPORT)
extern "C" __declspec(dllimport) CZQModSettings* CreateSettings();
#endif

// The export's type, for hosts that load the DLL themselves and call GetProcAddress for "CreateSettings".
using ZQCreateSettingsFunction = CZQModSettings* (*)();

// The second interface of a module object, which immediately follows the first.
inline CZQVariable* ZQVariables(CZQModSettings* module) {
    return reinterpret_cast<CZQVariable*>(reinterpret_cast<char*>(module) + sizeof(void*));
}

// Destroys a module object through either of its interfaces.
template <class Interface>
inline void ZQDestroy(Interface* module) {
#if defined(_MSC_VER)
    delete module;
#else
    if (module) {
        module->ScalarDeletingDestructor(1);
    }
#endif
}
