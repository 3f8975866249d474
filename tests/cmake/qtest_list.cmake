# SPDX-License-Identifier: MIT
# Writes the test functions (or, with ROWS_OF, that function's data rows) of
# the QtTest program EXE to OUT, one a line. Run after each build.
set(ENV{QT_QPA_PLATFORM} offscreen)
# The listing runs no test code; its early exit would count the font
# library's caches as leaks under the sanitizer build.
set(ENV{ASAN_OPTIONS} "$ENV{ASAN_OPTIONS}:detect_leaks=0")
if(ROWS_OF)
    execute_process(COMMAND ${EXE} -datatags ${ROWS_OF} OUTPUT_VARIABLE out RESULT_VARIABLE rc ERROR_QUIET)
else()
    execute_process(COMMAND ${EXE} -functions OUTPUT_VARIABLE out RESULT_VARIABLE rc ERROR_QUIET)
endif()
if(NOT rc EQUAL 0)
    file(REMOVE ${OUT})
    message(FATAL_ERROR "${EXE} cannot list its tests (exit ${rc})")
endif()
string(REPLACE "\n" ";" lines "${out}")
set(names "")
foreach(line IN LISTS lines)
    if(ROWS_OF)
        # "<Class> <function> <row>": the row's name may hold blanks.
        if(line MATCHES "^[^ ]+ ${ROWS_OF} (.+)$")
            list(APPEND names "${CMAKE_MATCH_1}")
        endif()
    elseif(line MATCHES "^([A-Za-z_0-9]+)\\(\\)$")
        list(APPEND names "${CMAKE_MATCH_1}")
    endif()
endforeach()
list(JOIN names "\n" text)
file(WRITE ${OUT} "${text}\n")
