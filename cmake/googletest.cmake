# GTest::gtest_main: the distribution's library or, for another machine than this, its sources.
if(NOT CMAKE_CROSSCOMPILING)
  find_package(GTest REQUIRED)
  return()
endif()

set(VLM_GOOGLETEST /usr/src/googletest/googletest CACHE PATH "GoogleTest's sources")
add_library(vlm_gtest_main STATIC ${VLM_GOOGLETEST}/src/gtest-all.cc
  ${VLM_GOOGLETEST}/src/gtest_main.cc)
target_include_directories(vlm_gtest_main PRIVATE ${VLM_GOOGLETEST})
target_include_directories(vlm_gtest_main SYSTEM PUBLIC ${VLM_GOOGLETEST}/include)
target_compile_options(vlm_gtest_main PRIVATE -w)  # not ours to warn about
target_link_libraries(vlm_gtest_main PUBLIC Threads::Threads)
add_library(GTest::gtest_main ALIAS vlm_gtest_main)
