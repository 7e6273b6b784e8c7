# A compiler cache, where there is one, makes the second build of a file free.
find_program(TWUPDATE_CCACHE ccache)
if(TWUPDATE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER ${TWUPDATE_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${TWUPDATE_CCACHE})
endif()
