/* A library that opens. */

int orla_module_answer(void);
int orla_module_answer(void) { return 42; }

/* A symbol that exists and whose value is null. */
__asm__(".globl orla_module_null\n.set orla_module_null, 0\n");
