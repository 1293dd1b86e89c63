# A library that breaks system calls under a program. The sanitizers need these places for themselves.
if(SHROUD_SANITIZE OR WIN32)
  return()
endif()
add_library(fault_shim MODULE support/fault_shim.cpp)
set_target_properties(fault_shim PROPERTIES PREFIX "" LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib/tests)
target_link_libraries(fault_shim PRIVATE shroud_flags ${CMAKE_DL_LIBS})
# Those who preload it into a program.
add_dependencies(batch_tests fault_shim)
add_dependencies(core_tests fault_shim)
