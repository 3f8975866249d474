# SPDX-License-Identifier: MIT
# cmake -DNM=<nm> -DPLUGIN=<plugin file> -DQT_MAJOR=<5|6> -P check_exports.cmake
# Fails unless the plugin's dynamic symbol table defines exactly the two entry
# points of Qt's plugin loader.
execute_process(COMMAND ${NM} -D --defined-only ${PLUGIN}
    OUTPUT_VARIABLE out RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${NM} failed on ${PLUGIN}")
endif()
string(REGEX REPLACE "\n$" "" out "${out}")
string(REPLACE "\n" ";" lines "${out}")
set(names)
foreach(line IN LISTS lines)
    # "<address> <type> <name>"
    string(REGEX REPLACE "^[0-9a-fA-F]* *[A-Za-z] " "" name "${line}")
    list(APPEND names "${name}")
endforeach()
list(SORT names)
# Qt 6 from 6.3 on names the metadata entry point qt_plugin_query_metadata_v2.
set(expected qt_plugin_instance qt_plugin_query_metadata)
set(expected_v2 qt_plugin_instance qt_plugin_query_metadata_v2)
if(NOT names STREQUAL expected AND NOT (QT_MAJOR STREQUAL "6" AND names STREQUAL expected_v2))
    string(REPLACE ";" "\n  " shown "${names}")
    message(FATAL_ERROR "The plugin exports more or other symbols than the plugin loader's entry points:\n  ${shown}")
endif()
message(STATUS "exported: ${names}")
