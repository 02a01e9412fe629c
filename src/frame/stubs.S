/* The entry stubs of the exports. They touch no argument register and no stack word, so that a tier's
   entry sees the caller's arguments and return address as if it had been called directly. */

#if defined(_WIN32)
#define VEK_FUNCTION(name) .globl name ; .def name ; .scl 2 ; .type 32 ; .endef ; .p2align 4 ; name: ;
#define VEK_FUNCTION_END(name)
        .text
#else
#define VEK_FUNCTION(name) .globl name ; .type name, @function ; .p2align 4 ; name: ;
#define VEK_FUNCTION_END(name) .size name, .-name ;
        .section .note.GNU-stack, "", @progbits
        .text
#endif

#define VEK_TABLE(name) \
        VEK_FUNCTION(name) \
        movslq  vekTierIndex(%rip), %r10 ; \
        leaq    vekTiersOf_##name(%rip), %r11 ; \
        jmp     *(%r11, %r10, 8) ; \
        VEK_FUNCTION_END(name)

#define VEK_SLOT(name) \
        VEK_FUNCTION(name) \
        jmp     *vekSlotOf_##name(%rip) ; \
        VEK_FUNCTION_END(name)

#define VEK_DIRECT(name)

#include "frame/exports.inc"
