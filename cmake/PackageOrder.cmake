# cpack runs this behind its packages, and packs them anew with their files in order, which its own are not. Debian's get the field that lets several architectures be installed side by side (CMake knows a variable for
# it from 3.31 on only), and lose the scripts whose work a trigger does.
function(finish_debian tree package)
  file(READ ${tree}/DEBIAN/control control)
  if(control MATCHES "\nPackage: lib" AND NOT control MATCHES "Architecture: all\n")
    set(multi_arch same)
  else()
    set(multi_arch foreign)
  endif()
  if(NOT control MATCHES "\nMulti-Arch:")
    string(REGEX REPLACE "(^|\n)(Architecture: [^\n]*\n)" "\\1\\2Multi-Arch: ${multi_arch}\n" control "${control}")
    file(WRITE ${tree}/DEBIAN/control "${control}")
  endif()
  file(REMOVE ${tree}/DEBIAN/postinst ${tree}/DEBIAN/postrm)
  execute_process(COMMAND sort -k 2 -o ${tree}/DEBIAN/md5sums ${tree}/DEBIAN/md5sums COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND dpkg-deb --root-owner-group -Zxz --build ${tree} ${package}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(tree ${package}.tree)
  # Unpacking goes by the umask, where it does not run as root.
  if(package MATCHES "\\.deb$")
    execute_process(COMMAND sh -c "umask 022 && dpkg-deb --raw-extract \"$0\" \"$1\"" ${package} ${tree}
      COMMAND_ERROR_IS_FATAL ANY)
    finish_debian(${tree} ${package})
  elseif(package MATCHES "\\.tar\\.gz$" AND CMAKE_HOST_SYSTEM_NAME STREQUAL "Linux")
    file(MAKE_DIRECTORY ${tree})
    execute_process(COMMAND sh -c "umask 022 && tar -xzf \"$0\" -C \"$1\"" ${package} ${tree} COMMAND_ERROR_IS_FATAL ANY)
    file(GLOB top RELATIVE ${tree} ${tree}/*)
    execute_process(COMMAND tar --sort=name --format=gnu --owner=root:0 --group=root:0 --mtime=@$ENV{SOURCE_DATE_EPOCH}
        -cf - -C ${tree} ${top}
      COMMAND gzip -9n OUTPUT_FILE ${package} COMMAND_ERROR_IS_FATAL ANY)
  elseif(package MATCHES "\\.zip$" AND CMAKE_HOST_UNIX)
    file(MAKE_DIRECTORY ${tree})
    execute_process(COMMAND sh -c "umask 022 && \"$0\" -E tar xf \"$1\"" ${CMAKE_COMMAND} ${package}
      WORKING_DIRECTORY ${tree} COMMAND_ERROR_IS_FATAL ANY)
    file(GLOB_RECURSE files RELATIVE ${tree} ${tree}/*)  # in order, and without the folders
    list(JOIN files "\n" files)
    file(WRITE ${tree}/files "${files}\n")
    execute_process(COMMAND ${CMAKE_COMMAND} -E tar cf ${package} --format=zip --files-from=files
      WORKING_DIRECTORY ${tree} COMMAND_ERROR_IS_FATAL ANY)
  endif()
  file(REMOVE_RECURSE ${tree})
endforeach()
