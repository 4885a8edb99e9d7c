// How a host frees a packet that CZQVariable::PackVariable or PackAllVariables returned.
//
// Packets are allocated from the process heap. A host that uses the release build of the Microsoft run-time
// library may also use delete[] on an unsigned char pointer: that library allocates from the process heap
// too.
#pragma once

extern "C" {
__declspec(dllimport) void* __stdcall GetProcessHeap(void);
__declspec(dllimport) int __stdcall HeapFree(void* heap, unsigned long flags, void* memory);
}

// Frees a packet; null is allowed. Any thread may call.
inline void ZQFreePacket(void* packet) { HeapFree(GetProcessHeap(), 0, packet); }
