# Removes what `cmake --install` noted in its manifests, and the folders named after orla that are
# empty then; the common ones (bin, lib, man1, ...) stay.
#
#   [DESTDIR=...] cmake -D MANIFESTS=BUILD_FOLDER -P uninstall.cmake
cmake_minimum_required(VERSION 3.25)

# A folder is ours when it, or one above it, is named orla, below one of those that every prefix
# has.
function(remove_own_empty_folders folder)
  while(folder MATCHES "/(include|lib[^/]*|share)/(.*/)?orla(/|$)")
    file(GLOB content LIST_DIRECTORIES true "${folder}/*" "${folder}/.*")
    if(content OR NOT IS_DIRECTORY "${folder}")
      return()
    endif()
    file(REMOVE_RECURSE "${folder}")
    cmake_path(GET folder PARENT_PATH folder)
  endwhile()
endfunction()

file(GLOB manifests "${MANIFESTS}/install_manifest*.txt")
if(NOT manifests)
  message(FATAL_ERROR "Nothing was installed from ${MANIFESTS}: it holds no install_manifest.txt")
endif()
foreach(manifest IN LISTS manifests)
  file(STRINGS "${manifest}" files)
  foreach(file IN LISTS files)
    set(file "$ENV{DESTDIR}${file}")
    message(STATUS "Removing ${file}")
    file(REMOVE "${file}")
    cmake_path(GET file PARENT_PATH folder)
    remove_own_empty_folders("${folder}")
  endforeach()
  file(REMOVE "${manifest}")
endforeach()
