# Called by CPack between installing into the staging folders and packing them: adds what a Debian
# package has and an installation by hand does not have, and finds the dependencies.
cmake_minimum_required(VERSION 3.25)

set(stage "${CPACK_TEMPORARY_DIRECTORY}")
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
set(plain_file OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

# Compressed without time and name: the same content is the same file in the packages of both
# architectures, which can be installed together for that.
function(compress file)
  execute_process(COMMAND gzip -9nf "${file}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# What every package has: its copyright, its own changes and those of orla.
function(add_documents component package)
  set(folder "${stage}/${component}/usr/share/doc/${package}")
  file(COPY "${CPACK_ORLA_SOURCE_DIR}/packaging/copyright" DESTINATION "${folder}"
    FILE_PERMISSIONS ${plain_file})
  configure_file("${CPACK_ORLA_SOURCE_DIR}/CHANGELOG.md" "${folder}/changelog"
    COPYONLY FILE_PERMISSIONS ${plain_file})
  compress("${folder}/changelog")
  configure_file("${CPACK_ORLA_SOURCE_DIR}/packaging/changelog" "${folder}/changelog.Debian"
    COPYONLY FILE_PERMISSIONS ${plain_file})
  compress("${folder}/changelog.Debian")
  file(GLOB overrides "${CPACK_ORLA_SOURCE_DIR}/packaging/lintian-overrides/${package}")
  if(overrides)
    file(COPY ${overrides} DESTINATION "${stage}/${component}/usr/share/lintian/overrides"
      FILE_PERMISSIONS ${plain_file})
  endif()
endfunction()

function(compress_manual component)
  file(GLOB_RECURSE pages "${stage}/${component}/usr/share/man/*")
  foreach(page IN LISTS pages)
    if(IS_SYMLINK "${page}")
      # An alias points to its page, which gets a new name.
      file(READ_SYMLINK "${page}" target)
      file(REMOVE "${page}")
      file(CREATE_LINK "${target}.gz" "${page}.gz" SYMBOLIC)
    else()
      compress("${page}")
    endif()
  endforeach()
endfunction()

# Without what only a debugger or the linker reads.
function(strip_binaries component)
  file(GLOB_RECURSE binaries "${stage}/${component}/usr/bin/*" "${stage}/${component}/usr/lib/*.so*")
  foreach(binary IN LISTS binaries)
    if(NOT IS_SYMLINK "${binary}")
      execute_process(COMMAND "${CPACK_ORLA_STRIP}" --strip-unneeded -R .comment -R .note "${binary}"
        COMMAND_ERROR_IS_FATAL ANY)
    endif()
  endforeach()
endfunction()

# The packages that a component's programs and libraries need, each since the version that has the
# symbols they use. A compiler for both architectures has its 32-bit libraries from packages of
# other names than those of i386, but of the same sources and versions.
function(find_dependencies component result)
  file(GLOB_RECURSE binaries "${stage}/${component}/usr/bin/*" "${stage}/${component}/usr/lib/*.so*")
  list(TRANSFORM binaries PREPEND -e)
  file(GLOB libraries "${stage}/runtime/usr/lib/*")
  list(TRANSFORM libraries PREPEND -l)
  # It must run in a folder like that of a source package, with subfolders that look like packages.
  file(WRITE "${stage}/debian/control" "Source: orla\n\nPackage: orla\nArchitecture: any\n")
  file(MAKE_DIRECTORY "${stage}/${component}/DEBIAN")
  execute_process(
    COMMAND dpkg-shlibdeps -O "-L${CPACK_ORLA_CONTROL_DIR}/shlibs" ${libraries} ${binaries}
    WORKING_DIRECTORY "${stage}"
    OUTPUT_VARIABLE dependencies
    OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE "${stage}/debian" "${stage}/${component}/DEBIAN")

  string(REGEX REPLACE "^shlibs:Depends=" "" dependencies "${dependencies}")
  if(CPACK_DEBIAN_PACKAGE_ARCHITECTURE STREQUAL "i386")
    string(REPLACE "libc6-i386 " "libc6 " dependencies "${dependencies}")
    string(REPLACE "lib32" "lib" dependencies "${dependencies}")
  endif()
  set(${result} "${dependencies}" PARENT_SCOPE)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER "${component}" COMPONENT)
  add_documents(${component} "${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME}")
  compress_manual(${component})
  strip_binaries(${component})
endforeach()

# A package stays where it is, and pkg-config leaves out the folders that every compiler searches
# when they are spelled plainly.
file(GLOB pkg_config_file "${stage}/development/usr/lib/*/pkgconfig/orla.pc"
  "${stage}/development/usr/lib*/pkgconfig/orla.pc")
file(READ "${pkg_config_file}" text)
string(REGEX REPLACE "^prefix=[^\n]*" "prefix=/usr" text "${text}")
file(WRITE "${pkg_config_file}" "${text}")

set(docs "${CPACK_ORLA_SOURCE_DIR}/docs")
file(COPY "${docs}/guide.md" "${docs}/quirks.md"
  DESTINATION "${stage}/development/usr/share/doc/liborla-dev" FILE_PERMISSIONS ${plain_file})
file(COPY "${docs}/json.md"
  DESTINATION "${stage}/tools/usr/share/doc/orla-tools" FILE_PERMISSIONS ${plain_file})
file(COPY "${CPACK_ORLA_SOURCE_DIR}/examples" DESTINATION "${stage}/development/usr/share/doc/liborla-dev"
  FILE_PERMISSIONS ${plain_file}
  PATTERN CMakeLists.txt EXCLUDE)

# The folder that Debian's zsh searches for functions of packages.
set(zsh "${stage}/tools/usr/share/zsh")
if(IS_DIRECTORY "${zsh}/site-functions")
  file(RENAME "${zsh}/site-functions" "${zsh}/vendor-completions")
endif()

# What pip and other programs ask about a Python package.
if("python" IN_LIST CPACK_COMPONENTS_ALL)
  execute_process(
    COMMAND "${CPACK_ORLA_PYTHON}" -B -c "import build_backend, sys
build_backend.prepare_metadata_for_build_wheel(sys.argv[1])" "${stage}"
    WORKING_DIRECTORY "${CPACK_ORLA_SOURCE_DIR}/python"
    COMMAND_ERROR_IS_FATAL ANY)
  file(GLOB about "${stage}/orla-*.dist-info")
  file(COPY "${about}" DESTINATION "${stage}/python/usr/lib/python3/dist-packages"
    FILE_PERMISSIONS ${plain_file}
    PATTERN LICENSE EXCLUDE)  # it is in the package's copyright
  file(REMOVE_RECURSE "${about}")
endif()

find_dependencies(runtime CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS)
if("tools" IN_LIST CPACK_COMPONENTS_ALL)
  find_dependencies(tools CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS)
endif()

# Every file is as old as the newest change, so that packing the same build twice gives the same
# packages.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(
    COMMAND dpkg-parsechangelog -l "${CPACK_ORLA_SOURCE_DIR}/packaging/changelog" -S Timestamp
    OUTPUT_VARIABLE timestamp
    OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
  set(ENV{SOURCE_DATE_EPOCH} "${timestamp}")
endif()
