# How a room of the house becomes a target. Every room compiles with the same warnings; what ships has no exceptions
# and no RTTI.

# A definition of an entry point with another parameter list than its declaration is another function, which would never
# run: hence the last warning.
set(DUN_SHIPPED -fno-exceptions -fno-rtti -Wmissing-declarations)
set(DUN_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)

# Test code is compiled more often than it runs.
set(DUN_TEST_CODE -O0 -g1)

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

# dun_program(NAME SOURCES file... [USES target...]): a program for the development machine.
function(dun_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/ril/include)
  target_compile_options(${name} PRIVATE ${DUN_WARNINGS})
  target_link_libraries(${name} PRIVATE ${ARG_USES} Threads::Threads)
endfunction()

# dun_test(NAME SOURCES file... [USES target...] [TIMEOUT seconds]): a GoogleTest program, one entry of ctest.
# Name the object libraries of the rooms under test in USES.
function(dun_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;USES" ${ARGN})
  dun_program(${name} SOURCES ${ARG_SOURCES} USES ${ARG_USES} gmock gtest gtest_main)
  target_compile_options(${name} PRIVATE ${DUN_TEST_CODE})
  add_test(NAME ${name} COMMAND ${name})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
endfunction()

# dun_phone_test(NAME SOURCES file... [USES target...] [TIMEOUT seconds]): the same, of the shipped library in the
# sandbox with the harness around it.
function(dun_phone_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;USES" ${ARGN})
  dun_program(${name} SOURCES ${ARG_SOURCES} USES ${ARG_USES} phone_harness harness gmock gtest gtest_main)
  target_compile_options(${name} PRIVATE ${DUN_TEST_CODE})
  set_target_properties(${name} PROPERTIES ENABLE_EXPORTS ON)  # the library takes the harness's sleeps
  add_dependencies(${name} dun-ril)
  add_test(NAME ${name} COMMAND sandbox $<TARGET_FILE:${name}>)
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
endfunction()

# dun_fuzz(NAME SOURCES file... [USES target...]): a libFuzzer program. ctest runs it for a short while on top of its
# seed corpus corpus/NAME beside its source; run it by hand with -max_total_time=600 for a long one.
set(DUN_FUZZ_SECONDS 10 CACHE STRING "Length of each fuzz target's run under ctest")
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
endfunction()

# Adds the folders that have a CMakeLists.txt.
function(dun_add_rooms)
  foreach(room ${ARGN})
    if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${room}/CMakeLists.txt)
      add_subdirectory(${room})
    endif()
  endforeach()
endfunction()
