# Compile settings shared by the library, its tests, benchmarks and examples. Floating-point
# contraction stays off everywhere so that Debug, Release, g++ and clang give the same bits.
function(qv_target_options target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor
    -ffp-contract=off -fno-fast-math)
  if(QV_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  qv_sanitize(${target})
endfunction()

# Address and undefined-behaviour checking without recovery: the first fault stops the run.
function(qv_sanitize target)
  if(QV_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=address,undefined)
  endif()
endfunction()
