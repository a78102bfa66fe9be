# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

# The component Portable is a folder that runs wherever it lies, and can be moved as a whole:
#     cmake --install BUILD --component Portable --prefix FOLDER
# FOLDER should be new. Libraries that are to be part of it are installed by the same component, as
# regular files: the marker lists everything that the component has brought.

install(TARGETS tarnwick tarnwick-helper tarnwick-install tarnwickctl
    RUNTIME DESTINATION bin COMPONENT Portable EXCLUDE_FROM_ALL)
install(FILES "${PROJECT_SOURCE_DIR}/data/linux/tiers.toml"
    DESTINATION share/tarnwick COMPONENT Portable EXCLUDE_FROM_ALL)
install(SCRIPT "${CMAKE_CURRENT_LIST_DIR}/PortableMarker.cmake"
    COMPONENT Portable EXCLUDE_FROM_ALL)
