// The callback object that a host gives to CZQModSettings::DoInit. The host implements and owns it; it must
// outlive the module object and accept calls from several threads at once.
#pragma once

#include "ZQAbi.h"

#include <stdarg.h>

class CZQModHost {
    // Slot 0. Never called by the module.
    ZQ_DESTRUCTOR_SLOT(CZQModHost)

    // Slot 1. Receives every message of the module, from any of its threads and from any host thread that is
    // inside the module. No lock of the module is held: the host may call the module from here, but must not
    // let a message bring forth another without end.
    //
    // tag        always "ZQModSettings"
    // level      1 notable events and survey results, 2 progress, 3 warnings, 4 failures
    // format     a wide printf format in Microsoft's reading: %s is a wide string, %hs a narrow one
    // arguments  what the format asks for; tag, format and arguments are valid during the call only
    //
    // An exception must not leave this function.
    virtual void Log(const wchar_t* tag, int32_t level, const wchar_t* format, va_list arguments) = 0;

    // Slot 2. Never called by the module.
    virtual void Reserved() {}

    // Slot 3. Called by the folder watcher's thread after each pass over the three configuration files,
    // behind the notices to the registered hosts. No lock of the module is held. While this function runs,
    // nothing is watched, and CZQModSettings::DoStop terminates the thread after one second.
    virtual void OnConfigReloaded() = 0;
};
