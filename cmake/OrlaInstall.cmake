# What an installation holds, in five components: "runtime" for programs that were built already,
# "development" for building them, "tools" for people, "documentation", which packages arrange in a
# way of their own, and "python", which is for the packages alone.

include(CMakePackageConfigHelpers)

set(package_config_dir "${CMAKE_INSTALL_LIBDIR}/cmake/orla")
set(pkg_config_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

install(TARGETS orla
  EXPORT orlaTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    COMPONENT runtime
    NAMELINK_COMPONENT development)
# In the library's directory, where the library finds it; no program links it, so it is not
# exported.
install(TARGETS orlanode
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime)
if(ORLA_TOOL)
  # The tool finds its library relative to its own directory, so that an installation can be moved.
  file(RELATIVE_PATH library_beside_tool "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
  set_property(TARGET orla-tool APPEND PROPERTY INSTALL_RPATH "$ORIGIN/${library_beside_tool}")
  install(TARGETS orla-tool
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
endif()

install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/orla"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development
  FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

install(EXPORT orlaTargets
  NAMESPACE orla::
  DESTINATION "${package_config_dir}" COMPONENT development)
configure_package_config_file(cmake/orlaConfig.cmake.in "${PROJECT_BINARY_DIR}/cmake/orlaConfig.cmake"
  INSTALL_DESTINATION "${package_config_dir}"
  NO_SET_AND_CHECK_MACRO)
# The version file refuses a program of another word size, too.
write_basic_package_version_file("${PROJECT_BINARY_DIR}/cmake/orlaConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/cmake/orlaConfig.cmake"
    "${PROJECT_BINARY_DIR}/cmake/orlaConfigVersion.cmake"
  DESTINATION "${package_config_dir}" COMPONENT development)

# A directory as orla.pc names it: under the prefix, or as it is where it was given as an absolute
# path.
function(orla_pkg_config_path result directory)
  if(NOT IS_ABSOLUTE "${directory}")
    string(PREPEND directory "\${prefix}/")
  endif()
  set(${result} "${directory}" PARENT_SCOPE)
endfunction()
orla_pkg_config_path(ORLA_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
orla_pkg_config_path(ORLA_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
file(RELATIVE_PATH ORLA_PC_TO_PREFIX
  "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" ORLA_PC_TO_PREFIX "${ORLA_PC_TO_PREFIX}")
configure_file(cmake/orla.pc.in "${PROJECT_BINARY_DIR}/cmake/orla.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/cmake/orla.pc"
  DESTINATION "${pkg_config_dir}" COMPONENT development)

install(FILES
    "${PROJECT_SOURCE_DIR}/LICENSE"
    "${PROJECT_SOURCE_DIR}/docs/guide.md"
    "${PROJECT_SOURCE_DIR}/docs/json.md"
    "${PROJECT_SOURCE_DIR}/docs/quirks.md"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT documentation)
install(FILES
    "${PROJECT_SOURCE_DIR}/examples/date_report.py"
    "${PROJECT_SOURCE_DIR}/examples/find_symbol.cpp"
    "${PROJECT_SOURCE_DIR}/examples/host_report.c"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples" COMPONENT documentation)

# For the Debian package, where all versions of Python look. Elsewhere pip installs the package,
# into the directory of its own Python.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/python/orla"
  DESTINATION lib/python3/dist-packages COMPONENT python EXCLUDE_FROM_ALL
  FILES_MATCHING PATTERN "*.py" PATTERN py.typed PATTERN __pycache__ EXCLUDE)

if(PROJECT_IS_TOP_LEVEL)
  # All that is installed, without tests. Whatever adds files to an installation makes this target
  # depend on them.
  add_custom_target(product)
  add_dependencies(product orla orlanode)
  if(ORLA_TOOL)
    add_dependencies(product orla-tool)
  endif()

  add_custom_target(uninstall
    COMMAND "${CMAKE_COMMAND}" -D "BUILD=${PROJECT_BINARY_DIR}"
      -P "${PROJECT_SOURCE_DIR}/cmake/uninstall.cmake"
    VERBATIM)
endif()
