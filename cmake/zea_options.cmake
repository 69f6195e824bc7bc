# What all of the project's own targets are built with.

set(CMAKE_CXX_EXTENSIONS OFF)
if(PROJECT_IS_TOP_LEVEL)
  set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
  if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release)
  endif()
  # Not where the compiler cache cannot write, as for a builder without a home.
  find_program(ZEA_CCACHE ccache)
  if(ZEA_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    execute_process(COMMAND ${ZEA_CCACHE} ${CMAKE_CXX_COMPILER} -E -x c++ /dev/null
      RESULT_VARIABLE zea_ccache_result OUTPUT_QUIET ERROR_QUIET)
    if(zea_ccache_result EQUAL 0)
      set(CMAKE_CXX_COMPILER_LAUNCHER ${ZEA_CCACHE})
    endif()
  endif()
endif()

# As long as the major version is 0, every minor version may break what is linked against it.
set(ZEA_SOVERSION ${PROJECT_VERSION_MAJOR})
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(ZEA_SOVERSION 0.${PROJECT_VERSION_MINOR})
endif()

# Version scripts and the options of -z.
set(ZEA_LINKER_READS_ELF_OPTIONS ON)
if(WIN32 OR APPLE)
  set(ZEA_LINKER_READS_ELF_OPTIONS OFF)
endif()

# What nobody calls is left out of programs and libraries (most of a JSON library, for one), and a library that misses
# one of its own says so when it is linked and not when a host loads it. Sanitizers find their functions in the program
# and their tables by section: they go without both.
include(CheckLinkerFlag)
if(NOT ZEA_SANITIZE AND ZEA_LINKER_READS_ELF_OPTIONS)
  check_linker_flag(CXX LINKER:--gc-sections ZEA_LINKER_COLLECTS_SECTIONS)
  check_linker_flag(CXX LINKER:-z,defs ZEA_LINKER_REFUSES_UNDEFINED)
endif()

# zea_target(<target> [STANDARD <number>]): C++20 unless told otherwise, everything hidden that isn't marked, and the
# warnings that the house insists on.
function(zea_target target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "STANDARD" "")
  if(NOT arg_STANDARD)
    set(arg_STANDARD 20)
  endif()
  target_compile_features(${target} PRIVATE cxx_std_${arg_STANDARD})
  set_target_properties(${target} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /utf-8 /EHsc)
  else()
    target_compile_options(${target} PRIVATE
      -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual
      # Diagnostics name sources by their place in the tree, whatever folder it was built in.
      -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
  endif()
  if(ZEA_LINKER_COLLECTS_SECTIONS AND NOT ZEA_SANITIZE)
    target_compile_options(${target} PRIVATE -ffunction-sections -fdata-sections)
    target_link_options(${target} PRIVATE LINKER:--gc-sections)
  endif()
  if(ZEA_LINKER_REFUSES_UNDEFINED AND NOT ZEA_SANITIZE)
    target_link_options(${target} PRIVATE LINKER:-z,defs)
  endif()
  if(ZEA_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE $<IF:$<CXX_COMPILER_ID:MSVC>,/WX,-Werror>)
  endif()
endfunction()

# zea_api(<library> <prefix>): whoever uses the library without its DLL must not ask for imports. The macro
# <prefix>_API reads <library>_EXPORTS, which CMake defines where a shared library is compiled, and <prefix>_STATIC.
function(zea_api library prefix)
  get_target_property(type ${library} TYPE)
  if(WIN32 AND type STREQUAL "STATIC_LIBRARY")
    target_compile_definitions(${library} PUBLIC ${prefix}_STATIC)
  endif()
endfunction()

# ZEA_SANITIZE: a list for -fsanitize, on everything that is built here.
set(ZEA_SANITIZE "" CACHE STRING "Sanitizers to build with, such as address,undefined")
if(ZEA_SANITIZE)
  add_compile_options(-fsanitize=${ZEA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZEA_SANITIZE})
endif()
