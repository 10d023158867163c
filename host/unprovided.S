/* Takes the identity (vector << 32 | slot) that a module's stub left in the scratch register and hands
   it on as an argument. */

  .text
  .globl unprovided_operation
  .hidden unprovided_operation
  .type unprovided_operation, %function
unprovided_operation:
#if defined(__x86_64__)
  movq %r10, %rdi
  jmp end_run_at_unprovided_operation
#elif defined(__aarch64__)
  mov x0, x17
  b end_run_at_unprovided_operation
#else
#error "The host exists for x86-64 and AArch64 only."
#endif
  .size unprovided_operation, . - unprovided_operation

  .section .note.GNU-stack, "", %progbits
