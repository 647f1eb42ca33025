# The library: `ambielf_core` holds all of its code as objects, for white-box tests; `ambielf` is what users link.

# Each operating system has one source file; all other sources are common.
file(GLOB sources CONFIGURE_DEPENDS src/*/*.cpp src/*/*.h)
if(WIN32)
  list(FILTER sources EXCLUDE REGEX "/src/platform/posix[^/]*$")
else()
  list(FILTER sources EXCLUDE REGEX "/src/platform/windows[^/]*$")
endif()

add_library(ambielf_core OBJECT ${sources})
set_target_properties(ambielf_core PROPERTIES LINKER_LANGUAGE CXX POSITION_INDEPENDENT_CODE ON)
ambielf_own_target(ambielf_core)
target_compile_definitions(ambielf_core PRIVATE AMBIELF_BUILDING)
target_include_directories(ambielf_core PUBLIC ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
# Paths in debug information and messages do not depend on where the project was unpacked.
target_compile_options(ambielf_core PRIVATE
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=.)

if(AMBIELF_SHARED)
  set(kind SHARED)
else()
  set(kind STATIC)
endif()
add_library(ambielf ${kind} $<TARGET_OBJECTS:ambielf_core>)
add_library(ambielf::ambielf ALIAS ambielf)
set_target_properties(ambielf PROPERTIES
  LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION} SOVERSION ${AMBIELF_ABI})
target_include_directories(ambielf PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)

# One list of names says what the shared library exports, to every kind of linker.
file(STRINGS cmake/exports.txt exports)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS cmake/exports.txt)

# C programs that link the static library also need the C++ library.
set(cxx_runtime ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES})
list(FILTER cxx_runtime INCLUDE REGEX "^(stdc\\+\\+|c\\+\\+|m)$")
list(REMOVE_DUPLICATES cxx_runtime)

if(NOT AMBIELF_SHARED)
  target_compile_definitions(ambielf_core PUBLIC AMBIELF_STATIC)
  target_compile_definitions(ambielf INTERFACE AMBIELF_STATIC)
  target_link_libraries(ambielf INTERFACE "$<$<LINK_LANGUAGE:C>:${cxx_runtime}>")
elseif(WIN32)
  # Only the definition file exports, so programs that contain ambielf_core, such as tests, neither import nor export
  # the names.
  target_compile_definitions(ambielf_core PUBLIC AMBIELF_STATIC)
  list(JOIN exports "\n  " exported_names)
  set(definitions ${PROJECT_BINARY_DIR}/ambielf.def)
  file(CONFIGURE OUTPUT ${definitions} CONTENT "EXPORTS\n  @exported_names@\n" @ONLY)
  target_sources(ambielf PRIVATE ${definitions})
else()
  # The version node has the ABI number, so that two generations of the library in one process never take each other's
  # calls.
  list(JOIN exports ";\n    " exported_names)
  set(map ${PROJECT_BINARY_DIR}/ambielf.map)
  file(CONFIGURE OUTPUT ${map} CONTENT
    "AMBIELF_${AMBIELF_ABI} {\n  global:\n    @exported_names@;\n  local:\n    *;\n};\n" @ONLY)
  target_link_options(ambielf PRIVATE -Wl,--version-script=${map} -Wl,-Bsymbolic-functions)
  set_target_properties(ambielf PROPERTIES LINK_DEPENDS ${map})
  # In a sanitized build the program provides the runtime's names.
  if(NOT "${CMAKE_CXX_FLAGS} ${CMAKE_SHARED_LINKER_FLAGS}" MATCHES "-fsanitize")
    target_link_options(ambielf PRIVATE -Wl,-z,defs)
  endif()
endif()
