# Headers that nearly every file of a half includes, read once instead of once a file. Sources
# still include what they use: the debug preset goes without preludes and would notice.

option(VANDOR_PRELUDES "Precompile the headers that most files share" ON)

set(standard_headers <algorithm> <array> <atomic> <bit> <chrono> <cstdint> <cstring> <deque>
    <exception> <filesystem> <fstream> <functional> <iostream> <list> <map> <memory> <mutex>
    <optional> <set> <span> <sstream> <stdexcept> <string> <string_view> <system_error> <thread>
    <tuple> <unordered_map> <utility> <variant> <vector>)
set(qt_headers <QtCore> <QImage> <QCoro/QCoroTask>)
set(widget_headers <QtWidgets>)
set(test_headers <gmock/gmock.h> <gtest/gtest.h>)

# vandor_prelude(NAME HEADERS ... USES ...): a target whose precompiled headers others take over.
function(vandor_prelude name)
    cmake_parse_arguments(PRELUDE "" "" "HEADERS;USES;OPTIONS" ${ARGN})
    add_library(${name} OBJECT ${CMAKE_SOURCE_DIR}/cmake/prelude.cpp)
    target_link_libraries(${name} PRIVATE ${PRELUDE_USES} vandor_options)
    target_compile_options(${name} PRIVATE ${PRELUDE_OPTIONS})
    # Warnings are as they were when the prelude was compiled.
    set_target_properties(${name} PROPERTIES UNITY_BUILD ${VANDOR_LARGE_UNITS})
    target_precompile_headers(${name} PRIVATE ${PRELUDE_HEADERS})
endfunction()

if(VANDOR_PRELUDES)
    set(qt_libraries Qt6::Core Qt6::Gui QCoro6::Core)
    set(test_libraries GTest::gmock GTest::gtest)
    vandor_prelude(prelude_src HEADERS ${standard_headers} ${qt_headers} USES ${qt_libraries})
    vandor_prelude(prelude_widgets
        HEADERS ${standard_headers} ${qt_headers} ${widget_headers}
        USES ${qt_libraries} Qt6::Widgets Qt6::Svg)
    vandor_prelude(prelude_toolbox_tests
        HEADERS ${standard_headers} ${test_headers} USES ${test_libraries} OPTIONS -O0)
    vandor_prelude(prelude_src_tests
        HEADERS ${standard_headers} ${qt_headers} ${test_headers}
        USES ${qt_libraries} ${test_libraries} OPTIONS -O0)
endif()

# Gives `target` the prelude of the half that its folder belongs to, or of the rooms with windows.
# The toolbox's own rooms have none: they would gain a tenth, and g++ 12 then warns of faults in
# the standard library's strings that aren't there.
function(vandor_take_prelude target suffix)
    if(NOT VANDOR_PRELUDES)
        return()
    endif()
    if(CMAKE_CURRENT_SOURCE_DIR MATCHES "/src/(views|wizard|app)$" AND NOT suffix)
        target_precompile_headers(${target} REUSE_FROM prelude_widgets)
    elseif(CMAKE_CURRENT_SOURCE_DIR MATCHES "/(toolbox|src)/[^/]+$"
            AND TARGET prelude_${CMAKE_MATCH_1}${suffix})
        target_precompile_headers(${target} REUSE_FROM prelude_${CMAKE_MATCH_1}${suffix})
    endif()
endfunction()
