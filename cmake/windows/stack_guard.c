/* The parts of -fstack-protector-strong that mingw-w64 10 lacks: the guard value in front of every return address, and the handler
 * for an overwritten one. Each image has its own value. It is computed before the image's static objects are constructed, from the
 * same sources as the cookie of the Microsoft runtime. */
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <stdint.h>

#define UNPROTECTED __attribute__((no_stack_protector))

uintptr_t __stack_chk_guard = 0x00002B992DDFA232;

UNPROTECTED __attribute__((constructor(101))) static void draw_guard(void)
{
    FILETIME time;
    LARGE_INTEGER counter;
    uintptr_t value = (uintptr_t)&counter ^ (uintptr_t)&__stack_chk_guard << 16;
    GetSystemTimeAsFileTime(&time);
    QueryPerformanceCounter(&counter);
    value ^= (uintptr_t)time.dwHighDateTime << 32 | time.dwLowDateTime;
    value ^= (uintptr_t)GetCurrentProcessId() << 32 ^ GetCurrentThreadId();
    value ^= (uintptr_t)counter.QuadPart << 24;
    value *= 0x9E3779B97F4A7C15;          /* every bit on the way up to the highest */
    __stack_chk_guard = value & ~0xFFull; /* a zero byte, which no text can be copied across */
}

/* FAST_FAIL_STACK_COOKIE_CHECK_FAILURE: the process ends at once with STATUS_STACK_BUFFER_OVERRUN. */
UNPROTECTED __attribute__((noreturn)) void __stack_chk_fail(void)
{
#if defined(__x86_64__)
    __asm__ volatile("int $0x29" : : "c"(2));
#elif defined(__aarch64__)
    register uint64_t code __asm__("x0") = 2;
    __asm__ volatile("brk #0xF003" : : "r"(code));
#else
#error "The stack protector is set up for x86-64 and AArch64"
#endif
    __builtin_unreachable();
}
