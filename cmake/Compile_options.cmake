# Warnings, sanitizers and coverage for every target of this project.

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow)
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wconversion>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(-Wduplicated-cond -Wduplicated-branches -Wlogical-op)
endif()
if(DOV_WERROR)
  add_compile_options(-Werror)
endif()

# The older unit of 32-bit x86 keeps more digits than a double has, and what is published would differ
# in the last.
include(CheckCXXSymbolExists)
check_cxx_symbol_exists(__i386__ cstddef DOV_X86_32)
if(DOV_X86_32)
  add_compile_options(-msse2 -mfpmath=sse)
endif()

# Files may be longer than 2 GiB there, too, and lie on a file system that counts further.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  add_compile_definitions(_FILE_OFFSET_BITS=64)
endif()

# Q_SIGNALS, Q_SLOTS and Q_EMIT: the short forms are macros that hide ordinary words.
add_compile_definitions(QT_NO_CAST_TO_ASCII QT_NO_FOREACH QT_NO_KEYWORDS)

# What a library is for may not be what a program takes of it.
add_link_options(LINKER:--as-needed)

if(DOV_SANITIZE)
  add_compile_options(-fsanitize=${DOV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${DOV_SANITIZE})
endif()
# What each program has counted is added to a file of its own, whatever its surroundings.
if(DOV_COVERAGE)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "DOV_COVERAGE needs clang: use the preset \"asan\"")
  endif()
  add_compile_options("-fprofile-instr-generate=${CMAKE_BINARY_DIR}/counts/%m.profraw"
    -fcoverage-mapping -fprofile-update=atomic
    # Functions of headers that no code is made of, such as those for constants, do not count.
    -mllvm -limited-coverage-experimental)
  add_link_options(-fprofile-instr-generate)
endif()
