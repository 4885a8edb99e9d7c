// Writes past the end of its memory: a check of the heap that does not report this is not on.
#include <windows.h>

int main() {
    const HANDLE heap = GetProcessHeap();
    auto* block = static_cast<volatile char*>(HeapAlloc(heap, 0, 20));
    block[20] = 'x';
    HeapFree(heap, 0, const_cast<char*>(block));
    return 0;
}
