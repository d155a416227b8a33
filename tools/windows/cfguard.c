/* What Control Flow Guard needs from a C runtime and mingw-w64 10 does not have: the image's load configuration, and the check and
 * dispatch pointers that compiled code calls through. Where the loader knows the guard it puts its own functions into these
 * pointers; where it does not, the ones below let every call pass. Linked into every image with -u _load_config_used.
 *
 * Layout: IMAGE_LOAD_CONFIG_DIRECTORY64 up to GuardLongJumpTargetCount; mingw-w64 10 declares it only up to SEHandlerCount. */
#include <stdint.h>

extern void* __guard_fids_table[];
extern void* __guard_fids_count[];
extern void* __guard_iat_table[];
extern void* __guard_iat_count[];
extern void* __guard_longjmp_table[];
extern void* __guard_longjmp_count[];
extern void* __guard_flags[];

void orbis_guard_check(void);
void orbis_guard_dispatch(void);

#if defined(__x86_64__)
/* Check: the target is in rcx and every register is kept. Dispatch: the target is in rax. */
__asm__(
    ".globl orbis_guard_check\norbis_guard_check:\n\tret\n"
    ".globl orbis_guard_dispatch\norbis_guard_dispatch:\n\tjmp *%rax\n");
#elif defined(__aarch64__)
/* Check: the target is in x15 and every argument register is kept. Dispatch: the target is in x9. */
__asm__(
    ".globl orbis_guard_check\norbis_guard_check:\n\tret\n"
    ".globl orbis_guard_dispatch\norbis_guard_dispatch:\n\tbr x9\n");
#else
#error "Control Flow Guard is set up for x86-64 and AArch64"
#endif

/* Constant pages, so that nothing but the loader writes here. */
__attribute__((section(".00cfg"), used)) void (*const __guard_check_icall_fptr)(void) = orbis_guard_check;
__attribute__((section(".00cfg"), used)) void (*const __guard_dispatch_icall_fptr)(void) = orbis_guard_dispatch;

struct LoadConfiguration {
    uint32_t size;
    uint32_t beforeGuard1[21];
    const void* securityCookie;
    const void* exceptionHandlerTable;
    uint64_t exceptionHandlerCount;
    const void* guardCheckPointer;
    const void* guardDispatchPointer;
    const void* guardFunctionTable;
    const void* guardFunctionCount;
    const void* guardFlags; /* 32 bits of flags, then the first 4 bytes of CodeIntegrity, which are zero */
    uint32_t codeIntegrity[2];
    const void* guardAddressTakenIatTable;
    const void* guardAddressTakenIatCount;
    const void* guardLongJumpTable;
    const void* guardLongJumpCount;
};
_Static_assert(sizeof(struct LoadConfiguration) == 0xC0, "IMAGE_LOAD_CONFIG_DIRECTORY64 up to GuardLongJumpTargetCount");
_Static_assert(__builtin_offsetof(struct LoadConfiguration, guardCheckPointer) == 0x70, "GuardCFCheckFunctionPointer");
_Static_assert(__builtin_offsetof(struct LoadConfiguration, guardFlags) == 0x90, "GuardFlags");

__attribute__((used)) const struct LoadConfiguration _load_config_used = {
    .size = sizeof(struct LoadConfiguration),
    .guardCheckPointer = &__guard_check_icall_fptr,
    .guardDispatchPointer = &__guard_dispatch_icall_fptr,
    .guardFunctionTable = __guard_fids_table,
    .guardFunctionCount = __guard_fids_count,
    .guardFlags = __guard_flags,
    .guardAddressTakenIatTable = __guard_iat_table,
    .guardAddressTakenIatCount = __guard_iat_count,
    .guardLongJumpTable = __guard_longjmp_table,
    .guardLongJumpCount = __guard_longjmp_count,
};
