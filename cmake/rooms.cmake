# How a room of the house becomes a target. Every room compiles with the same warnings; what ships has no exceptions
# and no RTTI.

# A definition of an entry point with another parameter list than its declaration is another function, which would never
# run: hence the last warning.
set(DUN_SHIPPED -fno-exceptions -fno-rtti -Wmissing-declarations)
set(DUN_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)

# Test code is compiled more often than it runs.
set(DUN_TEST_CODE -O0 -g1)

# The headers that nearly every file of the host and of the tests reads are compiled once for all of them. GCC takes such
# headers only where all flags are the same: hence -fPIC for programs too.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/headers.cpp CONTENT "")
set(DUN_HOST_CODE ${DUN_WARNINGS} -fPIC)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  # False alarms of g++ 12 on std::string, once its header is compiled ahead.
  list(APPEND DUN_HOST_CODE -Wno-array-bounds -Wno-stringop-overflow -Wno-restrict)
endif()
function(dun_common_headers name)
  cmake_parse_arguments(ARG "" "" "OPTIONS;USES;HEADERS" ${ARGN})
  add_library(${name} OBJECT ${PROJECT_BINARY_DIR}/headers.cpp)
  target_compile_options(${name} PRIVATE ${DUN_WARNINGS} ${ARG_OPTIONS})
  target_link_libraries(${name} PRIVATE ${ARG_USES} Threads::Threads)
  target_precompile_headers(${name} PRIVATE <algorithm> <array> <atomic> <chrono> <cstring> <deque> <functional> <map>
    <memory> <mutex> <optional> <set> <span> <sstream> <string> <string_view> <thread> <vector> ${ARG_HEADERS})
endfunction()
dun_common_headers(dun_host_headers)
if(DUN_TESTS OR DUN_BENCH)
  dun_common_headers(dun_test_headers OPTIONS ${DUN_TEST_CODE} USES gmock HEADERS <gmock/gmock.h> <gtest/gtest.h>)
endif()

# dun_room(NAME [SOURCES file...] [USES target...]): an object library of the .cpp files of this folder, or of those
# named, part of what ships.
function(dun_room name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  if(NOT ARG_SOURCES)
    file(GLOB ARG_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  endif()
  add_library(${name} OBJECT ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/ril/include)
  target_compile_options(${name} PRIVATE ${DUN_WARNINGS} ${DUN_SHIPPED})
  target_link_libraries(${name} PUBLIC ${ARG_USES} Threads::Threads)
endfunction()

# dun_host_code(NAME): how a library or a program for the development machine is compiled.
function(dun_host_code name)
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_compile_options(${name} PRIVATE ${DUN_HOST_CODE})
  target_precompile_headers(${name} REUSE_FROM dun_host_headers)
endfunction()

# dun_test_code(NAME): the same for a library or a program of the tests.
function(dun_test_code name)
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_compile_options(${name} PRIVATE ${DUN_WARNINGS} ${DUN_TEST_CODE} -fPIC)
  target_precompile_headers(${name} REUSE_FROM dun_test_headers)
endfunction()

function(dun_executable name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/ril/include)
  target_link_libraries(${name} PRIVATE ${ARG_USES} Threads::Threads)
endfunction()

# dun_program(NAME SOURCES file... [USES target...]): a program for the development machine.
function(dun_program name)
  dun_executable(${name} ${ARGN})
  dun_host_code(${name})
endfunction()

# dun_test(NAME [SANDBOX] SOURCES file... [USES target...] [TIMEOUT seconds]): a GoogleTest program, one entry of ctest.
# Name the object libraries of the rooms under test in USES. In the sandbox the phone's paths are the test's own.
function(dun_test name)
  cmake_parse_arguments(ARG "SANDBOX" "TIMEOUT" "SOURCES;USES" ${ARGN})
  dun_executable(${name} SOURCES ${ARG_SOURCES} USES ${ARG_USES} gmock gtest gtest_main)
  dun_test_code(${name})
  if(ARG_SANDBOX)
    add_test(NAME ${name} COMMAND sandbox $<TARGET_FILE:${name}>)
  else()
    add_test(NAME ${name} COMMAND ${name})
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
endfunction()

# dun_phone_test(NAME SOURCES file... [USES target...] [TIMEOUT seconds]): the same, of the shipped library in the
# sandbox with the harness around it.
function(dun_phone_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;USES" ${ARGN})
  dun_test(${name} SANDBOX SOURCES ${ARG_SOURCES} USES ${ARG_USES} phone_harness harness TIMEOUT ${ARG_TIMEOUT})
  set_target_properties(${name} PROPERTIES ENABLE_EXPORTS ON)  # the library takes the harness's sleeps
  add_dependencies(${name} dun-ril)
endfunction()

# dun_fuzz(NAME SOURCES file... [USES target...]): a libFuzzer program. ctest runs it for a short while on top of its
# seed corpus corpus/NAME beside its source; run it by hand with -max_total_time=600 for a long one.
set(DUN_FUZZ_SECONDS 6 CACHE STRING "Length of each fuzz target's run under ctest")
function(dun_fuzz name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  dun_program(${name} SOURCES ${ARG_SOURCES} USES ${ARG_USES})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/found/${name})
  file(GLOB seeds ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name})
  add_test(NAME ${name} COMMAND ${name} -max_total_time=${DUN_FUZZ_SECONDS} -print_final_stats=1 -timeout=10
    ${CMAKE_CURRENT_BINARY_DIR}/found/${name} ${seeds})
endfunction()

# dun_bench(NAME SOURCES file... [USES target...]): a Google Benchmark program.
function(dun_bench name)
  find_package(benchmark REQUIRED)
  dun_program(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE benchmark::benchmark)
  set_target_properties(${name} PROPERTIES DISABLE_PRECOMPILE_HEADERS ON)  # the package has flags of its own
endfunction()

# Adds the folders that have a CMakeLists.txt.
function(dun_add_rooms)
  foreach(room ${ARGN})
    if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${room}/CMakeLists.txt)
      add_subdirectory(${room})
    endif()
  endforeach()
endfunction()
