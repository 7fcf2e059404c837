# How our targets are compiled: one function per kind of target, so that each rule is written once.

include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)

# Warnings and sanitizers, for everything of ours (never for what we only use).
function(orla_developer_flags target)
  target_compile_features(${target} PRIVATE c_std_99 cxx_std_20)
  set_target_properties(${target} PROPERTIES C_EXTENSIONS ON CXX_EXTENSIONS OFF)
  if(ORLA_WARNINGS)
    target_compile_options(${target} PRIVATE
      -Wall -Wextra -Wconversion -Wsign-conversion -Wshadow)
  endif()
  if(ORLA_SANITIZE)
    target_compile_options(${target} PRIVATE
      -O1 -g1 -fsanitize=${ORLA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${ORLA_SANITIZE})
  endif()
endfunction()

# A test that this build cannot run: it counts as skipped, and says why.
function(orla_skipped_test name reason)
  add_test(NAME ${name} COMMAND "${CMAKE_COMMAND}" -E echo "skipped: ${reason}")
  set_tests_properties(${name} PROPERTIES SKIP_REGULAR_EXPRESSION "skipped: ")
endfunction()

# A test of seconds that finds nearly the same on both architectures: where a pointer has `bytes`
# bytes it is one of the long tests, which scripts/prove runs.
function(orla_long_test_on bytes name)
  if(CMAKE_SIZEOF_VOID_P EQUAL bytes)
    set_property(TEST ${name} APPEND PROPERTY LABELS long)
  endif()
endfunction()

# Options that end the process after a memory error, for the library, the companion and the tool.
# Builds for a sanitizer do without: it finds the same errors.
function(orla_hardened target)
  if(ORLA_SANITIZE)
    return()
  endif()
  set(flags -fstack-clash-protection)
  # A builder's own choice is kept, as below.
  if(NOT "${CMAKE_CXX_FLAGS}" MATCHES "-f(no-)?stack-protector")
    list(APPEND flags -fstack-protector-strong)
  endif()
  if(CMAKE_SIZEOF_VOID_P EQUAL 8 AND CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    list(APPEND flags -fcf-protection)
  endif()
  foreach(flag IN LISTS flags)
    string(MAKE_C_IDENTIFIER "ORLA_HAVE${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
      target_compile_options(${target} PRIVATE ${flag})
    endif()
  endforeach()
  # It works only where the compiler optimises, and warns elsewhere. A builder's own level is kept.
  if(NOT "${CMAKE_CXX_FLAGS}" MATCHES "_FORTIFY_SOURCE")
    target_compile_options(${target} PRIVATE
      $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>)
  endif()
  target_link_options(${target} PRIVATE LINKER:-z,relro LINKER:-z,now)
endfunction()

# Compile options of library code. A plain C boundary: no exception or type information crosses it,
# and the only library needed at run time is the C library.
function(orla_library_code target)
  orla_developer_flags(${target})
  target_compile_options(${target} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
  # The loops of a function then lie in cache lines in the same way whatever stands before it. The
  # token reader's loop across two lines takes a third longer.
  target_compile_options(${target} PRIVATE -falign-functions=64)
  # Clang assumes that malloc() never sets errno, and would drop the code that restores it.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:Clang>:-fno-builtin-malloc>)
  target_compile_options(${target} PRIVATE
    "SHELL:-include ${PROJECT_SOURCE_DIR}/cmake/plain_names.h")
  # The calls that man/orla.3 lists under "Interposition" go through exported names, so that a
  # program may replace the 31 functions called. GCC does so by default.
  check_cxx_compiler_flag(-fsemantic-interposition ORLA_HAVE_SEMANTIC_INTERPOSITION)
  if(ORLA_HAVE_SEMANTIC_INTERPOSITION)
    target_compile_options(${target} PRIVATE -fsemantic-interposition)
  endif()
  target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}")
  if(ORLA_COVERAGE)
    target_compile_options(${target} PRIVATE -O0 --coverage)
    target_link_options(${target} PRIVATE --coverage)
  endif()
endfunction()

# Linkers that do not know such a script leave the constants where they put them themselves.
function(orla_constants_first target)
  set(script "${PROJECT_SOURCE_DIR}/cmake/constants_first.ld")
  # The check links a program, but by the linker that a builder chose for libraries.
  separate_arguments(CMAKE_REQUIRED_LINK_OPTIONS UNIX_COMMAND "${CMAKE_SHARED_LINKER_FLAGS}")
  list(APPEND CMAKE_REQUIRED_LINK_OPTIONS "LINKER:-T,${script}")
  check_cxx_source_compiles("int main() {}" ORLA_HAVE_CONSTANTS_FIRST)
  if(ORLA_HAVE_CONSTANTS_FIRST)
    target_link_options(${target} PRIVATE "LINKER:-T,${script}")
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${script}")
  endif()
endfunction()

# A shared library of ours: its exports are the names in `map`, its soname carries the major
# version.
function(orla_plain_library target map)
  orla_library_code(${target})
  orla_hardened(${target})
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    DEFINE_SYMBOL ""
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    LINKER_LANGUAGE C
    LINK_DEPENDS "${PROJECT_SOURCE_DIR}/${map}")
  target_link_options(${target} PRIVATE
    "LINKER:--version-script=${PROJECT_SOURCE_DIR}/${map}" LINKER:--as-needed -static-libgcc)
  orla_constants_first(${target})
  if(NOT ORLA_SANITIZE)
    target_link_options(${target} PRIVATE LINKER:--no-undefined)
  endif()
  target_include_directories(${target} PUBLIC
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>"
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
endfunction()

# The code of tests and fuzz targets, at a level of optimisation: -O0 for a short build, -O1 where
# its own loops are long. What it tests is the library as it is shipped.
function(orla_test_code target level)
  orla_developer_flags(${target})
  # Precompiled, the C++ library is no system header to GCC, which then sees overflows in its
  # strings.
  target_compile_options(${target} PRIVATE ${level}
    $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds;-Wno-stringop-overflow>)
  # A sanitizer has a heap of its own and imports further names.
  if(ORLA_SANITIZE)
    target_compile_definitions(${target} PRIVATE ORLA_SANITIZED)
  endif()
  target_include_directories(${target} PRIVATE
    "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${target} PRIVATE orla::orla)
endfunction()

# A file of tests/fakes/ as the target fake_<name>, compiled once for all that name it: without
# sanitizers, whose runtime calls some of the fakes before its instrumentation is ready.
function(orla_fake name)
  if(TARGET fake_${name})
    return()
  endif()
  add_library(fake_${name} OBJECT "${PROJECT_SOURCE_DIR}/tests/fakes/${name}.cpp")
  orla_test_code(fake_${name} -O1)
  target_compile_options(fake_${name} PRIVATE -fno-sanitize=all)
endfunction()
