/* The stubs through which the module reaches the host's operations: one tail jump each, so that all
   arguments, variadic ones too, pass through untouched. A stub clears the task block's operation byte
   and leaves its identity (vector << 32 | slot) for the host in the scratch register that argument
   passing never uses: r10 on x86-64, x17 on AArch64. */

#include "uwugit/vectors.h"

#define WORD 8
#define TASK_BLOCK_WORD 1
#define OPERATION_STATE_BYTE 39

#if defined(__x86_64__)

.macro vector_stub name, vector, slot
  .globl \name
  .hidden \name
  .type \name, @function
  .p2align 4
\name:
  movq v_global_gcb_anchor(%rip), %r11
  movq TASK_BLOCK_WORD*WORD(%r11), %r10
  movb $0, OPERATION_STATE_BYTE(%r10)
  movq (%r11), %r11
  movq \vector*WORD(%r11), %r11
  movq \slot*WORD(%r11), %r11
  movabsq $(\vector << 32 | \slot), %r10
  jmpq *%r11
  .size \name, . - \name
.endm

#elif defined(__aarch64__)

.macro vector_stub name, vector, slot
  .globl \name
  .hidden \name
  .type \name, @function
  .p2align 4
\name:
  adrp x16, v_global_gcb_anchor
  ldr x16, [x16, :lo12:v_global_gcb_anchor]
  ldr x17, [x16, #TASK_BLOCK_WORD*WORD]
  strb wzr, [x17, #OPERATION_STATE_BYTE]
  ldr x16, [x16]
  ldr x16, [x16, #\vector*WORD]
  ldr x16, [x16, #\slot*WORD]
  mov x17, #\slot
  movk x17, #\vector, lsl #32
  br x16
  .size \name, . - \name
.endm

#else
#error "The vector stubs exist for x86-64 and AArch64 only."
#endif

  .text
#define STUB(name, vector, slot) vector_stub name, vector, slot;
UWUGIT_HOST_OPERATIONS(STUB)

  .section .note.GNU-stack, "", %progbits
