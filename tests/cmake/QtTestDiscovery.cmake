# SPDX-License-Identifier: MIT
# Registers every test function of a QtTest program as a CTest test of its
# own, the way gtest_discover_tests does for GoogleTest: after each build the
# program lists its functions (-functions) into a file, and a file that CTest
# includes when it starts adds one test per line. With ROWS_OF <function>,
# the rows of that data-driven function are the tests instead (-datatags).
#
#   qtest_discover_tests(<target> <prefix> [ROWS_OF <function>]
#                        [LAUNCHER <program>] [PROPERTIES <name> <value>...])
#
# LAUNCHER runs each test's program (e.g. with a loopback of its own).
#
# Test names: <prefix><function> (or <prefix><row>). Every test runs offscreen.
set(QTEST_DISCOVERY_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/qtest_list.cmake)

function(qtest_discover_tests target prefix)
    cmake_parse_arguments(arg "" "ROWS_OF;LAUNCHER" "PROPERTIES" ${ARGN})
    set(list_file ${CMAKE_CURRENT_BINARY_DIR}/${target}_tests.txt)
    set(include_file ${CMAKE_CURRENT_BINARY_DIR}/${target}_tests.cmake)
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_COMMAND} -DEXE=$<TARGET_FILE:${target}> -DOUT=${list_file}
            -DROWS_OF=${arg_ROWS_OF} -P ${QTEST_DISCOVERY_SCRIPT}
        BYPRODUCTS ${list_file}
        VERBATIM)
    # Each property's value is kept as one argument for set_tests_properties.
    set(props "")
    list(LENGTH arg_PROPERTIES n)
    if(n GREATER 0)
        math(EXPR last "${n} - 1")
        foreach(i RANGE 0 ${last} 2)
            math(EXPR j "${i} + 1")
            list(GET arg_PROPERTIES ${i} key)
            list(GET arg_PROPERTIES ${j} value)
            string(APPEND props " ${key} \"${value}\"")
        endforeach()
    endif()
    file(GENERATE OUTPUT ${include_file} CONTENT "
if(EXISTS \"${list_file}\")
    file(STRINGS \"${list_file}\" names)
    foreach(name IN LISTS names)
        if(\"${arg_ROWS_OF}\" STREQUAL \"\")
            set(args \${name})
        else()
            set(args \"${arg_ROWS_OF}:\${name}\")
        endif()
        add_test(\"${prefix}\${name}\" ${arg_LAUNCHER} \"$<TARGET_FILE:${target}>\" \"\${args}\")
        set_tests_properties(\"${prefix}\${name}\" PROPERTIES ENVIRONMENT QT_QPA_PLATFORM=offscreen ${props})
    endforeach()
else()
    add_test(${prefix}NOT_BUILT \"$<TARGET_FILE:${target}>\" -functions)
    set_tests_properties(${prefix}NOT_BUILT PROPERTIES WILL_FAIL ON)
endif()
")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${include_file})
endfunction()
