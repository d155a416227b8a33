/* A host that loads a plug-in with LoadLibrary alone: status 0 when it is a plug-in, 1 when it is none. */
#include <windows.h>

int main(int argc, char** argv)
{
    const HMODULE library = argc == 2 ? LoadLibraryA(argv[1]) : NULL;
    return library != NULL && GetProcAddress(library, "OrbisPluginRegistration") != NULL ? 0 : 1;
}
