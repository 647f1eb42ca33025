# ambielf_own_target(<target>): what every target of this project has in common, and no user's target gets.
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
