# What most sources include, precompiled for the builds that check the programs once more: a third of
# their compiler's time goes into the standard library's headers. Not in `dev` and not in what is
# delivered: there each source must name what it needs.
option(VLM_PRECOMPILE "Precompile the standard library's headers" OFF)

function(vlm_precompile)
  file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/precompiled.cpp CONTENT "")
  add_library(vlm_precompiled STATIC ${CMAKE_BINARY_DIR}/precompiled.cpp)
  target_link_libraries(vlm_precompiled PRIVATE Threads::Threads)
  target_precompile_headers(vlm_precompiled PRIVATE
    <algorithm> <chrono> <functional> <map> <memory> <mutex> <optional> <string> <thread> <variant>
    <vector>)
  foreach(target ${ARGN})
    if(TARGET ${target})
      target_precompile_headers(${target} REUSE_FROM vlm_precompiled)
    endif()
  endforeach()
endfunction()
