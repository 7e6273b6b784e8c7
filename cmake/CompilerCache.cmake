# A compiler cache, where there is one, makes the second build of a file free.
find_program(TWUPDATE_CCACHE ccache)
if(TWUPDATE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # The precompiled headers of the tests need the looser comparison.
  set(TWUPDATE_LAUNCHER
      ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${TWUPDATE_CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${TWUPDATE_LAUNCHER})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${TWUPDATE_LAUNCHER})
endif()
