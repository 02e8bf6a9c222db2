# What `cmake --install` puts where. tools/make-packages makes packages of it.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(package quovel_adapter_2411)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/${package})

# The shared libraries tell their interface's version by their names; Windows has no such names.
set_target_properties(${package} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
install(TARGETS ${package} EXPORT ${package}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES include/${package}/quovel_adapter.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${package})

file(RELATIVE_PATH to_libraries /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
# In the build tree too, where CMake would otherwise add an empty entry, which the loader takes for the working folder.
set_target_properties(qv_inspect PROPERTIES BUILD_WITH_INSTALL_RPATH ON
                      INSTALL_RPATH "$ORIGIN/${to_libraries};$ORIGIN/../lib")
if(NOT WIN32)
  # All symbols are bound at loading, and the tables of them are read-only from then on.
  foreach(target ${package} qv_inspect)
    target_link_options(${target} PRIVATE LINKER:-z,relro LINKER:-z,now)
  endforeach()
endif()
install(TARGETS qv_inspect RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(NOT WIN32)
  install(FILES host/inspect/completion.bash RENAME qv_inspect
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES docs/qv_inspect.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()

# The host in Python, where Debian's Python looks under /usr; under another prefix, and on Windows, PYTHONPATH names the
# folder. On Windows the library is inside the package.
set(python_folder lib/python3/dist-packages)
if(WIN32)
  set(python_folder python)
  install(FILES $<TARGET_FILE:${package}> DESTINATION python/quovel_adapter)
endif()
set(QUOVEL_PYTHON_FOLDER ${python_folder} CACHE STRING "Where the Python package goes, below the prefix")
install(DIRECTORY host/python/quovel_adapter host/python/quovel_catalog DESTINATION ${QUOVEL_PYTHON_FOLDER} FILES_MATCHING
  PATTERN "*.py" PATTERN "py.typed")

# How a project finds it: find_package(quovel_adapter_2411), or pkg-config.
install(EXPORT ${package} NAMESPACE ${package}:: DESTINATION ${package_folder} FILE ${package}-targets.cmake)
configure_package_config_file(tools/cmake/config.cmake.in ${PROJECT_BINARY_DIR}/cmake/${package}-config.cmake
  INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/cmake/${package}-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/cmake/${package}-config.cmake
              ${PROJECT_BINARY_DIR}/cmake/${package}-config-version.cmake DESTINATION ${package_folder})
file(RELATIVE_PATH to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" to_prefix ${to_prefix})
configure_file(tools/cmake/pkgconfig.pc.in ${package}.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Documents. Whoever distributes a build must distribute the notices of what is compiled into it.
set(documents ${CMAKE_INSTALL_DATADIR}/doc/quovel-adapter-2411)
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md LICENSE NOTICES.md DESTINATION ${documents})
install(DIRECTORY docs DESTINATION ${documents} FILES_MATCHING PATTERN examples EXCLUDE
  PATTERN "*.md" PATTERN "*.png" PATTERN "*.1" PATTERN "*.json")
if(WIN32)
  install(DIRECTORY $<TARGET_FILE_DIR:${package}>/notices DESTINATION ${documents} OPTIONAL)
endif()

# What only the zip has; tools/make-packages adds the NuGet package and the checksums.
if(WIN32)
  install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${package}.lib ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${package}.def
          DESTINATION ${CMAKE_INSTALL_LIBDIR} OPTIONAL)
  install(FILES docs/README-windows.txt RENAME README.txt DESTINATION .)
endif()
