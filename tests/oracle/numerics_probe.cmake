# The library through which Python scripts, tests and benches alike, call below the C boundary.
include_guard(GLOBAL)

add_library(morva_numerics_probe SHARED ${CMAKE_CURRENT_LIST_DIR}/numerics_probe.cpp)
target_link_libraries(morva_numerics_probe PRIVATE morva_engine morva_options)
set_target_properties(morva_numerics_probe PROPERTIES
  LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
