/* A library that opens only as long as nobody resolves what it calls. */

int orla_module_defined_nowhere(void);
int orla_module_unresolved(void);
int orla_module_unresolved(void) { return orla_module_defined_nowhere(); }
