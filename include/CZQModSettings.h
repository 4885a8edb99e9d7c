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
// The order at the end is binding: destroying the object neither stops the folder watcher nor frees binary
// variables. The host's objects (CZQModHost, every CZQVariableHost) must outlive the module object.
//
// The interface's own bodies do nothing; DoInit and DoStart return 1 there.
#pragma once

#include "CZQModHost.h"
#include "CZQVariable.h"
#include "ZQAbi.h"

class CZQModSettings {
    // Slot 0. Unregisters the hosts that are still registered and frees the object. ZQDestroy calls it.
    ZQ_DESTRUCTOR_SLOT(CZQModSettings)

    // Slot 1. Fills the data folder from the default files where a file is missing, loads the three
    // configuration files (one that cannot be read is replaced by its default copy), surveys the machine and
    // settles the device name. To be called once, before DoStart and before any host registers, on a thread
    // of the host.
    //
    // host           receives the messages; not owned, may be null for silence, but DoStart needs one
    // hostPath       a path inside the installation folder: the part before its last backslash is used, at
    //                most 511 characters
    // defaultDir     the folder of the default files, without a backslash at its end; only read
    // commonDataDir  the machine's common application-data folder, without a backslash at its end; the data
    //                folder "ZQserver" must exist below it
    //
    // A null path is taken as the empty one. Returns 0. A default file that is needed and missing, or a data
    // folder that is missing, leaves DoInit as std::filesystem::filesystem_error (see CZQVariable.h on
    // exceptions).
    virtual int32_t DoInit(CZQModHost* host, const wchar_t* hostPath, const wchar_t* defaultDir,
                           const wchar_t* commonDataDir) {
        (void)host, (void)hostPath, (void)defaultDir, (void)commonDataDir;
        return 1;
    }

    // Slot 2. Starts the folder watcher and looks up the installed client's version. Needs a DoInit with a
    // host. Returns 0. After DoStop the watcher cannot be started again.
    virtual int32_t DoStart() { return 1; }

    // Slot 3. Ends the folder watcher: waits one second at the most, then terminates its thread.
    virtual void DoStop() {}

    // Slot 4. Frees the binary variables. Hosts may still be registered and read.
    virtual void DoRelease() {}

    // Slot 5. Sets the string variable "DefaultDeviceName" to the name of the headset in use:
    // "HmdNameList.<n>", where n is the integer variable "DHI"; without either, a fixed name. Any thread.
    virtual void UpdateDefaultDeviceName() {}

    // Slots 6 to 9. Places that are kept: each writes a message with the name and saves nothing.
    virtual void SaveConfigRemoved6(const wchar_t* name) { (void)name; }
    virtual void SaveConfigRemoved7(const wchar_t* name) { (void)name; }
    virtual void SaveConfigRemoved8(const wchar_t* name) { (void)name; }
    virtual void SaveConfigRemoved9(const wchar_t* name) { (void)name; }

    // Slot 10. Overwrites the first `count` numbers of one response's "Value" in the headset list file: in
    // the first device whose "DeviceName" is deviceName, the first response whose three numbers are
    // mainRequest, subRequest and index, each of which is not looked at when negative. "Value" must hold
    // `count` elements already. A count of 0 or less writes the file anew, unchanged in content.
    //
    // As with every save: nothing is returned, a file or place that does not fit writes nothing, the
    // variables change only when the watcher has read the file again, and any thread may call, callbacks
    // included.
    virtual void SaveConfigHmdListIntArray(const wchar_t* deviceName, int32_t mainRequest, int32_t subRequest,
                                           int32_t index, const int64_t* values, int32_t count) {
        (void)deviceName, (void)mainRequest, (void)subRequest, (void)index, (void)values, (void)count;
    }

    // Slot 11. Replaces the value of one member of the settings file; a member that is absent is never made.
    //
    // name       the name of a member at the file's root, points included
    // perDevice  other than 0: `name` is "CL.<anything>.<member>", and the member is that of the headset in
    //            use, the entry of the file's "CL" at the place that the integer variable "DHI" gives. Where
    //            the file has no "CL" it is as if 0 were given.
    virtual void SaveConfigDouble(const wchar_t* name, double value, ZQBool perDevice) {
        (void)name, (void)value, (void)perDevice;
    }

    // Slot 12. As slot 11.
    virtual void SaveConfigBool(const wchar_t* name, ZQBool value, ZQBool perDevice) {
        (void)name, (void)value, (void)perDevice;
    }

    // Slot 13. As slot 11; `value` is zero-terminated UTF-8. The module reads ASCII only: a file with other
    // characters is refused at the next load.
    virtual void SaveConfigString(const wchar_t* name, const char* value, ZQBool perDevice) {
        (void)name, (void)value, (void)perDevice;
    }

    // Slot 14. As slot 11.
    virtual void SaveConfigInt64(const wchar_t* name, int64_t value, ZQBool perDevice) {
        (void)name, (void)value, (void)perDevice;
    }
};

// The DLL's one export: returns a new module object, or null when there is no memory, or no mutex to be
// had from the system. Each call makes an object of its own. Declared for hosts that link the DLL;
// ZQ_NO_IMPORT leaves the declaration out.
#if defined(_WIN32) && !defined(ZQ_NO_IMPORT)
extern "C" __declspec(dllimport) CZQModSettings* CreateSettings();
#endif

// Its type, for hosts that load the DLL by hand and ask GetProcAddress for "CreateSettings".
using ZQCreateSettingsFunction = CZQModSettings* (*)();

// The second interface of a module object: it stands right behind the first one.
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
