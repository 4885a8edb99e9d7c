// Writes behind its memory: what a check of the heap has to report, or it is not on.
#include <windows.h>

int main() {
    const HANDLE heap = GetProcessHeap();
    auto* block = static_cast<volatile char*>(HeapAlloc(heap, 0, 20));
    block[20] = 'x';
    HeapFree(heap, 0, const_cast<char*>(block));
    return 0;
}
