# ambielf_own_target(<target>): settings for all targets of this project, which users' targets do not inherit.
function(ambielf_own_target target)
  target_compile_features(${target} PRIVATE cxx_std_20 c_std_99)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    C_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    C_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    COMPILE_WARNING_AS_ERROR ${AMBIELF_WERROR})
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
endfunction()
