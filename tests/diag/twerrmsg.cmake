# A resource-only twerrmsg.dll for the error-text tests. It is built into its
# own folder, away from the test programs, so that only the cases that add
# that folder to their DLL search can reach it.
add_library(twerrmsg SHARED ${CMAKE_CURRENT_LIST_DIR}/twerrmsg.rc)
set_target_properties(twerrmsg PROPERTIES PREFIX "" LINKER_LANGUAGE C
  RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin/twerrmsg)
target_link_options(twerrmsg PRIVATE -nostdlib -Wl,--entry=0)
add_dependencies(twtest_diag twerrmsg)
