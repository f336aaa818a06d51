# What every target of this project is compiled with.
function(ovk_compile target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  # On 32-bit processors looking at a file fails otherwise when its inode number, its size or its time (from 2038 on) needs
  # more.
  target_compile_definitions(${target} PRIVATE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
  if(OVK_WARNINGS)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  endif()
  if(OVK_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
