# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

# Writes the marker of a portable folder, which lists what was installed before.
get_filename_component(prefix "${CMAKE_INSTALL_PREFIX}" ABSOLUTE)
set(folder "$ENV{DESTDIR}${prefix}")
set(marker "${folder}/.tarnwick-portable")
set(list "tarnwick-portable 1\n")
foreach(file IN LISTS CMAKE_INSTALL_MANIFEST_FILES)
    file(RELATIVE_PATH path "${prefix}" "${file}")
    execute_process(COMMAND test -x "${folder}/${path}" RESULT_VARIABLE is_no_program)
    if(is_no_program)
        string(APPEND list "644 ${path}\n")
    else()
        string(APPEND list "755 ${path}\n")
    endif()
endforeach()
message(STATUS "Installing: ${marker}")
file(WRITE "${marker}" "${list}")
