// The callback object that a host gives to CZQModSettings::DoInit. The host implements and owns it.
//
// REQUIRES: the object outlives the module object and accepts calls from several threads at once.
#pragma once

#include "ZQAbi.h"

#include <stdarg.h>

class CZQModHost {
    // Slot 0. Never called by the module.
    ZQ_DESTRUCTOR_SLOT(CZQModHost)

    // Slot 1. Receives every message of the module, on any of its threads and on any host thread that is
    // inside the module. No lock of the module is held, so the host may call the module from here. The host
    // must not answer each message with a call that causes another one.
    //
    // tag        always "ZQModSettings"
    // level      1 notable events and survey results, 2 progress, 3 warnings, 4 failures
    // format     a wide printf format as Microsoft defines it: %s is a wide string, %hs a narrow one
    // arguments  the format's arguments; tag, format and arguments are valid only during the call
    //
    // REQUIRES: no exception leaves this function.
    virtual void Log(const wchar_t* tag, int32_t level, const wchar_t* format, va_list arguments) = 0;

    // Slot 2. Never called by the module.
    virtual void Reserved() {}

    // Slot 3. Called on the folder watcher's thread after each pass over the three configuration files, once
    // the notices to the registered hosts are queued. No lock of the module is held. While this function runs
    // the folder is not watched; CZQModSettings::DoStop waits one second for it and then terminates the
    // thread.
    virtual void OnConfigReloaded() = 0;
};
