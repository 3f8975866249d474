# SPDX-License-Identifier: MIT
# Manual pages of the installed programs, generated at build time by help2man
# from each program's --help and --version, plus a section file of our own.
#
#   cascade_add_man_page(<target> <one-line description> [INCLUDE <file.h2m>])
#
# builds man/<target>.1.gz in the build tree whenever the program or the
# section file changes, and installs it into share/man/man1 with the
# program's component (tools). The section file is configured first
# (@CASCADE_PACKAGE_MODULEDIR@, @CASCADE_PACKAGE_SHAREDIR@,
# @CASCADE_PACKAGE_DOCDIR@ become the packages' folders). Without help2man
# the pages are skipped with one message; scripts/check-packages then fails
# on the missing pages.
#
# The program runs from the build tree, where its default folders are those
# of the build tree; the page names the folders of the installed packages
# instead (CASCADE_MAN_PATHS: pairs of build-tree path and package path).
#
# Run with cmake -P, this file is the build step itself (see the end).

if(NOT CMAKE_SCRIPT_MODE_FILE)

find_program(CASCADE_HELP2MAN help2man)
find_program(CASCADE_GZIP gzip)
if(NOT CASCADE_HELP2MAN OR NOT CASCADE_GZIP)
    message(STATUS "help2man or gzip not found: the manual pages are not built "
                   "(scripts/install-deps package installs help2man)")
endif()

function(cascade_add_man_page target whatis)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "INCLUDE" "")
    # A sanitizer build is never packaged, and its programs may end with a
    # leak report of the libraries they use, which help2man takes as failure.
    if(NOT CASCADE_HELP2MAN OR NOT CASCADE_GZIP OR CASCADE_SANITIZE)
        return()
    endif()
    set(page ${CMAKE_BINARY_DIR}/man/${target}.1.gz)
    set(include "")
    if(arg_INCLUDE)
        get_filename_component(name ${arg_INCLUDE} NAME)
        set(include ${CMAKE_BINARY_DIR}/man/${name})
        configure_file(${arg_INCLUDE} ${include} @ONLY)
    endif()
    add_custom_command(OUTPUT ${page}
        COMMAND ${CMAKE_COMMAND} -DHELP2MAN=${CASCADE_HELP2MAN} -DGZIP=${CASCADE_GZIP}
                -DPROGRAM=$<TARGET_FILE:${target}> "-DWHATIS=${whatis}" -DINCLUDE=${include}
                "-DPATHS=${CASCADE_MAN_PATHS}" -DOUTPUT=${page}
                -P ${CMAKE_SOURCE_DIR}/cmake/CascadeManPages.cmake
        DEPENDS ${target} ${include} ${CMAKE_SOURCE_DIR}/cmake/CascadeManPages.cmake
        COMMENT "Manual page of ${target}"
        VERBATIM)
    add_custom_target(${target}_man ALL DEPENDS ${page})
    install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
endfunction()

return()
endif()

# Build step: HELP2MAN, GZIP, PROGRAM, WHATIS, INCLUDE (may be empty), PATHS,
# OUTPUT. The program is run by its name from its own folder, so that its
# usage line shows the name, not the build path; in the C locale, so that the
# page is English whatever the builder's language; offscreen, so that a
# display is never needed.
get_filename_component(dir ${PROGRAM} DIRECTORY)
get_filename_component(name ${PROGRAM} NAME)
set(ENV{PATH} "${dir}:$ENV{PATH}")
set(ENV{LC_ALL} C)
set(ENV{LANGUAGE} "")
set(ENV{QT_QPA_PLATFORM} offscreen)
set(options --no-info --name=${WHATIS} --section=1)
if(INCLUDE)
    list(APPEND options --include=${INCLUDE})
endif()
execute_process(COMMAND ${HELP2MAN} ${options} ${name}
    OUTPUT_VARIABLE page ERROR_VARIABLE errors RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "help2man ${name} failed (${rc}): ${errors}")
endif()
# Both as printed and as help2man writes them in roff (a hyphen as \-).
while(PATHS)
    list(POP_FRONT PATHS from to)
    string(REPLACE "${from}" "${to}" page "${page}")
    string(REPLACE "-" "\\-" from "${from}")
    string(REPLACE "-" "\\-" to "${to}")
    string(REPLACE "${from}" "${to}" page "${page}")
endwhile()
# The page's date is the one help2man writes (SOURCE_DATE_EPOCH when set).
get_filename_component(plain ${OUTPUT} NAME_WLE)
get_filename_component(outdir ${OUTPUT} DIRECTORY)
file(WRITE ${outdir}/${plain} "${page}")
# -n: no name or time stamp in the archive, so that the same page gives the
# same bytes; -9 as Debian's own tools compress.
execute_process(COMMAND ${GZIP} -9nf ${outdir}/${plain} RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "gzip ${outdir}/${plain} failed (${rc})")
endif()
