// The shared libraries of tests/modules/, by path.

#ifndef ORLA_TESTS_KIT_MODULES_H
#define ORLA_TESTS_KIT_MODULES_H

inline constexpr const char *kGoodModule = ORLA_TEST_MODULES "/liborla-test-good.so";
inline constexpr const char *kUnresolvedModule = ORLA_TEST_MODULES "/liborla-test-unresolved.so";
inline constexpr const char *kProviderModule = ORLA_TEST_MODULES "/liborla-test-provider.so";
inline constexpr const char *kProviderWithoutNameModule =
    ORLA_TEST_MODULES "/liborla-test-provider_without_name.so";

#endif
