# Flags that every target of the project shares.
#
# The order of floating-point operations is part of what the library promises, so contraction is
# off everywhere, and 32-bit x86 calculates in SSE registers instead of the x87, which rounds
# differently.
add_library(quorvel_compile_options INTERFACE)

target_compile_options(quorvel_compile_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
  -ffp-contract=off)

if(CMAKE_SYSTEM_PROCESSOR MATCHES "i[3-6]86")
  target_compile_options(quorvel_compile_options INTERFACE -msse2 -mfpmath=sse)
endif()

if(QUORVEL_SANITIZE)
  target_compile_options(quorvel_compile_options INTERFACE
    -fsanitize=${QUORVEL_SANITIZE} -fno-omit-frame-pointer)
  target_link_options(quorvel_compile_options INTERFACE -fsanitize=${QUORVEL_SANITIZE})
  if(QUORVEL_SANITIZE MATCHES "undefined")
    target_compile_options(quorvel_compile_options INTERFACE -fno-sanitize-recover=undefined)
  endif()
endif()

# Files of the library whose object code may use AVX, or AVX2 as well. They are entered only after a
# run-time check of the processor; on other architectures they compile to the baseline's
# instructions. Neither allows fused multiplication; a file that asks for it by name may have that,
# too.
#
# GCC for 64-bit Windows does not align the stack for 32-byte vectors (GCC bug 54412), so there the
# assembler turns aligned vector moves into unaligned ones.
function(quorvel_allow options)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i[3-6]86")
    if(MINGW AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      list(APPEND options -Wa,-muse-unaligned-vector-move)
    endif()
    set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS ${options})
  endif()
endfunction()

function(quorvel_allow_avx)
  quorvel_allow(-mavx ${ARGN})
endfunction()

function(quorvel_allow_avx2)
  quorvel_allow(-mavx2 ${ARGN})
endfunction()

function(quorvel_allow_fused_multiplication)
  quorvel_allow("-mavx2;-mfma" ${ARGN})
endfunction()
