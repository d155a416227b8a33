/* Writes past the end of an array on the stack. */
#include <stddef.h>

__attribute__((noinline)) static void smash(volatile char* to, size_t bytes)
{
    while (bytes-- > 0) {
        *to++ = 1;
    }
}

__attribute__((noinline)) static int overflow(size_t bytes)
{
    char array[16];
    smash(array, bytes);
    return array[3];
}

int main(int argc, char** argv)
{
    (void)argv;
    return overflow(8 + 56 * (size_t)argc) == 1 ? 0 : 1;
}
