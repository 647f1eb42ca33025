# cpack runs this behind its packages: the Debian ones get the field that lets those of several architectures be
# installed side by side. CMake knows a variable for it from 3.31 on only.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  if(NOT package MATCHES "\\.deb$")
    continue()
  endif()
  set(tree ${package}.tree)
  execute_process(COMMAND dpkg-deb --raw-extract ${package} ${tree} COMMAND_ERROR_IS_FATAL ANY)
  file(READ ${tree}/DEBIAN/control control)
  if(NOT control MATCHES "\nMulti-Arch:")
    string(REGEX REPLACE "(^|\n)(Architecture: [^\n]*\n)" "\\1\\2Multi-Arch: same\n" control "${control}")
    file(WRITE ${tree}/DEBIAN/control "${control}")
    execute_process(COMMAND dpkg-deb --root-owner-group --build ${tree} ${package}
      OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  endif()
  file(REMOVE_RECURSE ${tree})
endforeach()
