#include <windows.h>

#include <stdio.h>
#include <stdlib.h>

// Sets the code page that the console shows output in, where one is given, and prints it.
int main(int argc, char** argv)
{
    if (argc > 1) {
        SetConsoleOutputCP((UINT)atoi(argv[1]));
    }
    printf("code page %u\n", GetConsoleOutputCP());
    return 0;
}
