// The callback interface of a host that is notified of changed variables (CZQVariable::RegisterHost). The
// host implements and owns it.
//
// Both callbacks run on one thread that the module keeps for this host only, in the order in which the
// changes were made, with no lock of the module held. A callback may use every operation of CZQVariable
// except unregistering its own host: that would wait for itself, and end with this thread terminated. A
// callback that is still running one second after UnregisterHost was called is terminated with its thread,
// whatever locks or memory it holds.
//
// REQUIRES: the object stays alive until CZQVariable::UnregisterHost has returned.
// REQUIRES: no exception leaves a callback.
#pragma once

#include "ZQAbi.h"

class CZQVariableHost {
    // Slot 0. Never called by the module.
    ZQ_DESTRUCTOR_SLOT(CZQVariableHost)

    // Slot 1. One variable was set, or a binary variable was deleted.
    //
    // name    zero-terminated, valid only during the call
    // type    a VariableType from 1 to 5
    // source  the host on whose behalf the change was made, or null; never this host itself
    virtual void OnVariableChanged(const wchar_t* name, uint32_t type, CZQVariableHost* source) = 0;

    // Slot 2. A configuration file was read again. Any variable may have changed; no notices are sent for
    // single ones.
    virtual void OnVariablesReloaded() = 0;
};
