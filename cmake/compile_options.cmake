# keldb_compile_options(TARGET): the language, the warnings and the sanitizers that every target of this project is
# built with. Nothing here reaches a target that only links the library.

if((KELDB_SANITIZE_INTEGER OR KELDB_LIBFUZZER) AND NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "KELDB_SANITIZE_INTEGER and KELDB_LIBFUZZER need clang (this is ${CMAKE_CXX_COMPILER_ID})")
endif()
if(KELDB_MIMALLOC AND (KELDB_SANITIZE OR KELDB_SANITIZE_INTEGER OR KELDB_LIBFUZZER))
  message(FATAL_ERROR "KELDB_MIMALLOC hides faults from the sanitizers: turn it off in a sanitized build")
endif()

set(keldb_sanitizers)
if(KELDB_SANITIZE OR KELDB_SANITIZE_INTEGER OR KELDB_LIBFUZZER)
  set(keldb_sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
endif()

# Without it g++ marks the statics of inline functions so that the loader never unloads a library that holds one.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fno-gnu-unique KELDB_HAS_NO_GNU_UNIQUE)
mark_as_advanced(KELDB_HAS_NO_GNU_UNIQUE)

function(keldb_compile_options target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow
    $<$<BOOL:${KELDB_WERROR}>:-Werror>
    $<$<BOOL:${KELDB_HAS_NO_GNU_UNIQUE}>:-fno-gnu-unique>
    ${keldb_sanitizers}
    $<$<BOOL:${KELDB_LIBFUZZER}>:-fsanitize=fuzzer-no-link>)
  target_link_options(${target} PRIVATE ${keldb_sanitizers})
  if(keldb_sanitizers)
    target_compile_definitions(${target} PRIVATE _GLIBCXX_ASSERTIONS)
  endif()
endfunction()

# The checks beyond undefined behaviour hold for the library's own arithmetic; the headers of the C++ library wrap
# on purpose (hashing, random numbers), so they are on the list of what is ignored.
function(keldb_integer_sanitizer target)
  if(KELDB_SANITIZE_INTEGER)
    target_compile_options(${target} PRIVATE
      -fsanitize=implicit-conversion,unsigned-integer-overflow
      -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/sanitizer_ignore.txt)
  endif()
endfunction()
