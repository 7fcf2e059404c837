/* What a call of a shared library costs before it does anything. */
int orla_bench_nothing(const void *in, void *out);
int orla_bench_nothing(const void *in, void *out) {
  (void)in;
  (void)out;
  return 0;
}
