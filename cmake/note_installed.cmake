# Runs at the end of an installation: notes in the build directory which files it wrote where, and
# what is in them, so that an uninstall removes these and no others. Packages are made from a
# directory of their own, which is never uninstalled.
foreach(file IN LISTS CMAKE_INSTALL_MANIFEST_FILES)
  set(path "$ENV{DESTDIR}${file}")
  if(path MATCHES "/_CPack_Packages/")
    continue()
  endif()
  if(IS_SYMLINK "${path}")
    file(READ_SYMLINK "${path}" content)
  else()
    file(SHA256 "${path}" content)
  endif()
  file(APPEND "${ORLA_BINARY_DIR}/installed.txt" "${content} ${path}\n")
endforeach()
