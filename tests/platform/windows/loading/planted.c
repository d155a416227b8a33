/* Somebody else's file with the name of a library of ours: a program that loads it ends with status 99. */
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved)
{
    (void)module;
    (void)reserved;
    if (reason == DLL_PROCESS_ATTACH) {
        TerminateProcess(GetCurrentProcess(), 99);
    }
    return TRUE;
}
