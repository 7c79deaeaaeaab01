# A room is a folder that is one library. Its CMakeLists.txt says what it is made of and whom it
# may know, and nothing else:
#
#   vandor_room(udif
#       SOURCES BlockTable.cpp ...
#       USES bytes PkgConfig::deflate)
#
# FAST rooms work on every byte of an image and are optimised as far as the compiler can. Files
# named APART are never compiled together with others.
#
# Names in USES that are rooms link those rooms; everything else is a library target. The rule
# who may include whom is also checked file by file (see cmake/CheckRooms.cmake).

set(VANDOR_TOOLBOX_DIR ${CMAKE_BINARY_DIR}/toolbox CACHE INTERNAL "laid out as a Mac lays out its tools")
set(VANDOR_BIN_DIR ${CMAKE_BINARY_DIR}/bin CACHE INTERNAL "the product's own programs")

# vandor_units(TARGET [FILE...]): those files stay units of their own.
function(vandor_units target)
    if(NOT VANDOR_LARGE_UNITS)
        return()
    endif()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
    set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

# What the sanitizer run needs.
add_custom_target(fast_tests)

function(vandor_link target)
    foreach(name IN LISTS ARGN)
        target_link_libraries(${target} PUBLIC ${name})
    endforeach()
    target_link_libraries(${target} PRIVATE vandor_options)
endfunction()

function(vandor_room name)
    cmake_parse_arguments(ROOM "MOC;FAST" "" "SOURCES;APART;USES" ${ARGN})
    add_library(${name} STATIC ${ROOM_SOURCES} ${ROOM_APART})
    get_filename_component(half ${CMAKE_CURRENT_SOURCE_DIR} DIRECTORY)
    target_include_directories(${name} PUBLIC ${half})
    set_target_properties(${name} PROPERTIES AUTOMOC "${ROOM_MOC}")
    vandor_link(${name} ${ROOM_USES})
    vandor_take_prelude(${name} "")
    vandor_units(${name} ${ROOM_APART})
    if(ROOM_FAST)
        target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O3>)
    endif()
endfunction()

# A tool of the toolbox: one short main, placed at the Mac's own path below the toolbox folder.
function(vandor_tool name)
    cmake_parse_arguments(TOOL "" "PLACE" "SOURCES;USES" ${ARGN})
    add_executable(tool_${name} ${TOOL_SOURCES})
    set_target_properties(tool_${name} PROPERTIES
        OUTPUT_NAME ${name}
        RUNTIME_OUTPUT_DIRECTORY ${VANDOR_TOOLBOX_DIR}/${TOOL_PLACE})
    vandor_link(tool_${name} ${TOOL_USES})
endfunction()

# One test program; SLOW keeps it out of the sanitizer run. Cases are found when CTest runs, so
# that a failing case is named in CTest's summary.
function(vandor_test name)
    cmake_parse_arguments(TEST "SLOW;MOC" "" "SOURCES;APART;USES;DEPENDS" ${ARGN})
    add_executable(${name} ${TEST_SOURCES} ${TEST_APART})
    set_target_properties(${name} PROPERTIES AUTOMOC "${TEST_MOC}"
        RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    vandor_link(${name} ${TEST_USES} GTest::gmock GTest::gtest)
    # What is tested is optimised; the tests themselves needn't be, and compile sooner so.
    target_compile_options(${name} PRIVATE -O0)
    vandor_take_prelude(${name} _tests)
    vandor_units(${name} ${TEST_APART})
    target_compile_definitions(${name} PRIVATE
        TEST_DATA_DIR="${CMAKE_SOURCE_DIR}/tests/data"
        TOOLBOX_DIR="${VANDOR_TOOLBOX_DIR}"
        PROGRAMS_DIR="${VANDOR_BIN_DIR}")
    if(TEST_DEPENDS)
        add_dependencies(${name} ${TEST_DEPENDS})
    endif()
    add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
    if(TEST_SLOW)
        set_tests_properties(${name} PROPERTIES LABELS slow)
    else()
        add_dependencies(fast_tests ${name})
    endif()
endfunction()
