int orla_bench_empty(void);
int orla_bench_empty(void) { return 0; }
