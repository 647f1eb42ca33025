# cpack reads this before it makes packages of one kind.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH} AND DEFINED CPACK_AMBIELF_EPOCH)
  set(ENV{SOURCE_DATE_EPOCH} ${CPACK_AMBIELF_EPOCH})
endif()
# Debian's packages are installed where the tree was configured for; archives are unpacked anywhere.
if(CPACK_GENERATOR STREQUAL "DEB")
  set(CPACK_SET_DESTDIR ON)
  set(CPACK_INSTALL_PREFIX ${CPACK_AMBIELF_PREFIX})
endif()
