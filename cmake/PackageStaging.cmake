# cpack runs this before it packs its staging area.
file(GLOB_RECURSE files ${CPACK_TEMPORARY_DIRECTORY}/*)
if(CPACK_GENERATOR STREQUAL "DEB")  # wants man pages and changelogs compressed
  list(FILTER files INCLUDE REGEX "/share/(man/man[1-9]/|doc/[^/]*/changelog$)")
  if(files)
    execute_process(COMMAND gzip -9n ${files} COMMAND_ERROR_IS_FATAL ANY)
  endif()
else()  # one folder of documents is enough for an archive
  list(FILTER files INCLUDE REGEX "/share/doc/libambielf-doc/copyright$")
  cmake_path(GET files PARENT_PATH documents)
  cmake_path(GET documents PARENT_PATH all_documents)
  file(REMOVE ${documents}/changelog)
  file(RENAME ${documents} ${all_documents}.kept)
  file(REMOVE_RECURSE ${all_documents})
  file(MAKE_DIRECTORY ${all_documents})
  file(RENAME ${all_documents}.kept ${all_documents}/ambielf)
endif()
# Folders that cpack made itself follow the umask.
if(CMAKE_HOST_UNIX)
  execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY} -type d -exec chmod 755 {} + COMMAND_ERROR_IS_FATAL ANY)
endif()
