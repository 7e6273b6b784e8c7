# Every warning is an error, for our own code.
function(twupdate_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor -Werror)
  # GCC 12 sees overlapping and endless copies where strings are joined at -O2 (its bug
  # 105651).
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-restrict -Wno-stringop-overflow)
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    # Under the sanitizers GCC 12 takes members of its own <regex> for uninitialised.
    target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
  endif()
endfunction()
