# SPDX-License-Identifier: MIT
# Warnings for every target of the project.
add_compile_options(
  $<$<COMPILE_LANGUAGE:CXX>:-Wall>
  $<$<COMPILE_LANGUAGE:CXX>:-Wextra>
  $<$<COMPILE_LANGUAGE:CXX>:-Wpedantic>
  $<$<COMPILE_LANGUAGE:C>:-Wall>
  $<$<COMPILE_LANGUAGE:C>:-Wextra>
  $<$<COMPILE_LANGUAGE:C>:-Wpedantic>)

# Floating point as IEEE says: no contraction of a*b+c into a fused multiply-add (the error-free
# transformations depend on it), no fast-math. errno is never read, so math functions need not
# set it, which lets sqrt vectorise.
function(qmath_numeric_options target)
  target_compile_options(${target} PRIVATE -ffp-contract=off -fno-math-errno -fno-trapping-math -O3)
endfunction()
