# Language level and warnings of every target, and the sanitizers of the presets.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wcast-align=strict)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # GCC's spelling of the strictest level; clang has but one.
  add_compile_options(-Wno-unknown-warning-option -Wcast-align)
endif()
# Messages name source files: by their paths in the repository, not on the machine that built them. A
# compiler cache may give the compiler the way from here instead.
cmake_path(RELATIVE_PATH PROJECT_SOURCE_DIR BASE_DIRECTORY ${CMAKE_BINARY_DIR}
  OUTPUT_VARIABLE from_build)
add_compile_options(
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/= -fmacro-prefix-map=${from_build}/=)
if(VLM_WERROR)
  add_compile_options(-Werror)
endif()

if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  # Times beyond 2038, and large files and file systems, on 32-bit machines. The bus library may be
  # built either way: no time and no file offset crosses its interface.
  add_compile_definitions(_TIME_BITS=64 _FILE_OFFSET_BITS=64)
endif()

# What is delivered faces the network.
set(delivered $<CONFIG:Release,MinSizeRel>)
add_compile_options(
  $<${delivered}:-U_FORTIFY_SOURCE> $<${delivered}:-D_FORTIFY_SOURCE=2>
  $<${delivered}:-fstack-protector-strong>)
add_link_options($<${delivered}:LINKER:-z,relro,-z,now>)

if(CMAKE_BUILD_TYPE STREQUAL "MinSizeRel")
  add_compile_options(-ffunction-sections -fdata-sections)
  # Nothing asks an object for its type, whose name would take its place.
  add_compile_options(-fno-rtti)
  add_link_options(-Wl,--gc-sections)
  set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ON)
  add_link_options(-flto-partition=one)  # a program is small enough to be looked at whole
endif()

# Layers and bus need each other: the engine calls the two functions of whichever bus a program links.
string(REPLACE "<LINK_LIBRARIES>" "-Wl,--start-group <LINK_LIBRARIES> -Wl,--end-group"
  CMAKE_CXX_LINK_EXECUTABLE "${CMAKE_CXX_LINK_EXECUTABLE}")

option(VLM_STATIC_LIBSTDCXX "Link the C++ library into the programs" OFF)
if(VLM_STATIC_LIBSTDCXX)
  add_link_options(-static-libstdc++ -static-libgcc)
endif()

set(VLM_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")
if(VLM_SANITIZE)
  add_compile_options(-fsanitize=${VLM_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VLM_SANITIZE})
  if(VLM_SANITIZE MATCHES "undefined")
    # To look at an object's type needs a descriptor; tests take them all away.
    add_compile_options(-fno-sanitize=vptr)
  endif()
endif()

option(VLM_COVERAGE "Count which lines of the product run" OFF)
if(VLM_COVERAGE)
  add_link_options(--coverage)
endif()

# Has the lines of this directory's targets counted, where that is wanted; unoptimised, so that each
# line is one.
macro(vlm_count_lines)
  if(VLM_COVERAGE)
    add_compile_options(--coverage -O0)
  endif()
endmacro()
