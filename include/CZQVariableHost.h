// The callback interface of a host that wants to hear of changed variables (CZQVariable::RegisterHost). The
// host implements and owns it; it must stay alive until CZQVariable::UnregisterHost has returned.
//
// Both callbacks come from one thread that the module keeps for this host alone, in the order in which the
// changes were made, with no lock of the module held: a callback may use every operation of CZQVariable
// except unregistering its own host, which would wait for itself and end with this thread terminated. A
// callback that is still running one second after its host was unregistered is terminated with its thread,
// whatever it holds.
//
// An exception must not leave a callback.
#pragma once

#include "ZQAbi.h"

class CZQVariableHost {
    // Slot 0. Never called by the module.
    ZQ_DESTRUCTOR_SLOT(CZQVariableHost)

    // Slot 1. One variable was set, or a binary variable was deleted.
    //
    // name    zero-terminated, valid during the call only
    // type    a VariableType from 1 to 5
    // source  the host on whose behalf the change was made, or null; never this host itself
    virtual void OnVariableChanged(const wchar_t* name, uint32_t type, CZQVariableHost* source) = 0;

    // Slot 2. A configuration file was read again: any variable may have changed, and no single notices are
    // sent.
    virtual void OnVariablesReloaded() = 0;
};
