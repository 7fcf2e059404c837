# Runs at the end of an installation: notes in the build folder which files it wrote where, and what
# is in them, so that an uninstall takes away these and no others. Packages are packed from a folder
# of their own, which nobody uninstalls.
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
