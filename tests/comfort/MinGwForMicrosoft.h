// Lets MinGW's C headers, the only ones here, through clang's Microsoft target.
#include <_mingw.h>
#if !defined(__MINGW_IMPORT)
#define __MINGW_IMPORT __declspec(dllimport)
#endif
