# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

# Installs the file that the session bus starts the helper by. It names the program by its whole
# path, which is certain only now.
get_filename_component(prefix "${CMAKE_INSTALL_PREFIX}" ABSOLUTE)
cmake_path(ABSOLUTE_PATH TARNWICK_HELPER BASE_DIRECTORY "${prefix}" NORMALIZE)
cmake_path(ABSOLUTE_PATH TARNWICK_SERVICES BASE_DIRECTORY "${prefix}" NORMALIZE)

# The bus takes the command apart as a shell does, and backslashes away before that.
if(NOT TARNWICK_HELPER MATCHES "^[A-Za-z0-9/._+:@-]+$")
    string(REPLACE "'" "'\"'\"'" TARNWICK_HELPER "${TARNWICK_HELPER}")
    set(TARNWICK_HELPER "'${TARNWICK_HELPER}'")
endif()

set(service "${TARNWICK_SERVICES}/com.velmora.tarnwick.helper.service")
message(STATUS "Installing: $ENV{DESTDIR}${service}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/com.velmora.tarnwick.helper.service.in"
    "$ENV{DESTDIR}${service}" @ONLY NO_SOURCE_PERMISSIONS)
list(APPEND CMAKE_INSTALL_MANIFEST_FILES "${service}")
