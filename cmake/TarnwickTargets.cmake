# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

# What every target of the project is built with, and the two ways to make one.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(TARNWICK_CCACHE ccache)
if(TARNWICK_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${TARNWICK_CCACHE}")
endif()

add_library(TarnwickOptions INTERFACE)
target_compile_options(TarnwickOptions INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor
    -Wold-style-cast -Woverloaded-virtual -Wimplicit-fallthrough
    $<$<BOOL:${TARNWICK_WERROR}>:-Werror>)
if(TARNWICK_SANITIZE)
    target_compile_options(TarnwickOptions INTERFACE
        -fsanitize=${TARNWICK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(TarnwickOptions INTERFACE -fsanitize=${TARNWICK_SANITIZE})
    # Qt's static objects end with a fence, which ThreadSanitizer does not understand.
    target_compile_options(TarnwickOptions INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-tsan>)
else()
    # The checks that a sanitizer puts in make the compiler see null pointers in its own library.
    target_compile_options(TarnwickOptions INTERFACE -Wnull-dereference)
endif()

# tarnwick_library(Name SOURCES... ) makes the static library of one layer, with the alias
# Tarnwick::Name. Includes are written from src/, so that a line tells its layer.
function(tarnwick_library name)
    add_library(Tarnwick${name} STATIC ${ARGN})
    add_library(Tarnwick::${name} ALIAS Tarnwick${name})
    target_include_directories(Tarnwick${name} PUBLIC "${PROJECT_SOURCE_DIR}/src")
    target_link_libraries(Tarnwick${name} PRIVATE TarnwickOptions)
endfunction()

# tarnwick_qt_library(Name SOURCES... ) does the same for a layer that uses Qt.
function(tarnwick_qt_library name)
    tarnwick_library(${name} ${ARGN})
    target_compile_definitions(Tarnwick${name} PRIVATE QT_NO_KEYWORDS)
    set_target_properties(Tarnwick${name} PROPERTIES AUTOMOC ON)
endfunction()

# tarnwick_test(Name SOURCES... ) makes one test program of a layer; its tests are run one by one.
function(tarnwick_test name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE TarnwickTestMain)
    tarnwick_test_program(${name})
endfunction()

# tarnwick_qt_test(Name SOURCES... ) makes one whose tests run beside a QCoreApplication.
function(tarnwick_qt_test name)
    add_executable(${name} ${ARGN})
    target_compile_definitions(${name} PRIVATE QT_NO_KEYWORDS)
    target_link_libraries(${name} PRIVATE TarnwickQtTestSupport)
    set(suppressions "${PROJECT_SOURCE_DIR}/tests/tsan-suppressions.txt")
    tarnwick_test_program(${name} ENVIRONMENT "TSAN_OPTIONS=suppressions=${suppressions}")
endfunction()

# tarnwick_test_program(Name PROPERTIES... ) is what they have in common; the properties are those
# of the single tests.
function(tarnwick_test_program name)
    target_link_libraries(${name} PRIVATE TarnwickOptions GTest::gtest GTest::gmock)
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}")
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 600 ${ARGN})
endfunction()
